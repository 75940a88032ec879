// The results of a command, which may come from many files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonObject.h"
#include "process/EachFile.h"
#include "process/Output.h"
#include "process/ResultFormat.h"

#include <string_view>

namespace orbo::Quilmeta {

/// The output of a command whose results come from many files. What the work on the files writes to
/// `output` goes through it; `end` completes the document.
class ResultList : public Output {
  public:
    ResultList(Output& target, ResultFormat format);
    [[nodiscard]] bool isTerminal() const override { return fTarget.isTerminal(); }
    void end();

    /// Begins one result, for a format of JSON, in the output of one file, and ends it.
    static void begin(Output& output, ResultFormat format);
    static void end(Output& output, ResultFormat format);
    /// Writes one result.
    static void add(Output& output, ResultFormat format, const JsonObject& result);
    /// Writes a result with `file` and `errors` for each file that fails; none in text.
    static FailureReport failures(ResultFormat format);

  protected:
    void deliver(std::string_view bytes) override;

  private:
    Output& fTarget;
    ResultFormat fFormat;
    bool fEmpty = true;
};

}  // namespace orbo::Quilmeta
