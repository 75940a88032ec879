// The lines of a text scene's section that are no metadata.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Data {

/// These lines are written behind the metadata, directly in front of the trailer. Readers that know
/// no comments join a line without ";" to the line behind it, and there that does no harm. See
/// `TextLinesAhead` for the guard lines among them.
class TextForeignLines {
  public:
    /// To be called in file order; the line includes its line feed and outlives this object.
    /// `unclosed` says that it belongs to a statement that lacks its ";".
    void add(std::string_view line, bool unclosed);

    /// Appends the lines in their order, but unclosed statements last, so that no other line closes
    /// them. `isClosed` says that the line in front of them ends with ";".
    void appendTo(std::string& out, bool behindStatements, bool isClosed) const;

  private:
    struct Line {
        std::string_view text;
        bool unclosed;
    };

    /// Whether the line is a guard that mutes the next one.
    [[nodiscard]] bool mutesTheNext(std::size_t at) const;
    [[nodiscard]] bool isStatementForOthers(std::size_t at) const;
    void appendTo(std::string& out, bool unclosed, bool behindStatements, bool& isClosed) const;

    std::vector<Line> fLines;
};

}  // namespace orbo::Data
