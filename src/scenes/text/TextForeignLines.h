// The lines of a text scene's section that are no metadata.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Data {

/// They go behind the metadata, directly in front of the trailer, where the lines that other
/// readers glue to what is behind them do no harm. See `TextLinesAhead` for the guards among them.
class TextForeignLines {
  public:
    /// In file order, with their line feeds; the views outlive this. `unclosed` lines are those of
    /// a statement that lacks its ";".
    void add(std::string_view line, bool unclosed);

    /// Appends them in their order, but unclosed statements last, so that no other line can close
    /// them. `isClosed` tells whether the line in front ends with ";".
    void appendTo(std::string& out, bool behindStatements, bool isClosed) const;

  private:
    struct Line {
        std::string_view text;
        bool unclosed;
    };

    /// The line there is a guard for the one behind it.
    [[nodiscard]] bool mutesTheNext(std::size_t at) const;
    [[nodiscard]] bool isStatementForOthers(std::size_t at) const;
    void appendTo(std::string& out, bool unclosed, bool behindStatements, bool& isClosed) const;

    std::vector<Line> fLines;
};

}  // namespace orbo::Data
