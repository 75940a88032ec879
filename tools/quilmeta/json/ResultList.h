// How a command prints its results: for people, or as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonObject.h"
#include "process/Output.h"

#include <string_view>

namespace orbo::Quilmeta {

enum class ResultFormat {
    kText,
    kJson,       ///< one document: a list of all results
    kJsonLines,  ///< one result on each line
};

/// The output of a command whose results come from many files. What the work on the files writes to
/// `output` goes through it; `end` completes the document.
class ResultList : public Output {
  public:
    ResultList(Output& target, ResultFormat format);
    [[nodiscard]] bool isTerminal() const override { return fTarget.isTerminal(); }
    void end();

    /// Writes one result, for a format of JSON, to the output of one file.
    static void add(Output& output, ResultFormat format, const JsonObject& result);

  protected:
    void deliver(std::string_view bytes) override;

  private:
    Output& fTarget;
    ResultFormat fFormat;
    bool fEmpty = true;
};

}  // namespace orbo::Quilmeta
