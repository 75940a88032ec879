// The lines of a text scene's section that are no metadata.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextForeignLines.h"

#include <algorithm>

#include "scenes/text/TextLinesAhead.h"
#include "scenes/text/TextStatement.h"

namespace orbo::Data {

namespace {

constexpr std::string_view kMutingGuard = TextLinesAhead::kMutingGuard;
constexpr std::string_view kLineEnd = " \t\r\n";

bool beginsStatement(std::string_view line) {
    return TextStatement::kindOf(line) || TextStatement::isSceneCommand(line);
}

}  // namespace

void TextForeignLines::add(std::string_view line, bool unclosed) {
    fLines.push_back({line, unclosed});
}

bool TextForeignLines::mutesTheNext(std::size_t at) const {
    if (at + 1 == fLines.size() || fLines[at].text != kMutingGuard) return false;
    const std::string_view line = fLines[at].text;
    const std::string_view next = fLines[at + 1].text;
    return line.data() + line.size() == next.data() && beginsStatement(next);
}

void TextForeignLines::appendTo(std::string& out, bool behindStatements, bool isClosed) const {
    appendTo(out, false, behindStatements, isClosed);
    appendTo(out, true, behindStatements, isClosed);
}

// A statement that was not understood may be one for other readers: they take any with two quoted
// values and a last word.
bool TextForeignLines::isStatementForOthers(std::size_t at) const {
    std::size_t quotes = 0;
    for (; at < fLines.size(); ++at) {
        const std::string_view line = fLines[at].text;
        quotes += static_cast<std::size_t>(std::count(line.begin(), line.end(), '"'));
        const std::size_t last = line.find_last_not_of(kLineEnd);
        if (last != std::string_view::npos && line[last] == ';') return quotes >= 4;
    }
    return false;
}

// Removes the guards of earlier writes and adds those that are needed now. If no metadata is left,
// a statement that no reader takes stays as it was found.
void TextForeignLines::appendTo(std::string& out, bool unclosed, bool behindStatements,
                                bool& isClosed) const {
    for (std::size_t at = 0; at < fLines.size(); ++at) {
        const Line& line = fLines[at];
        if (line.unclosed != unclosed || (isClosed && mutesTheNext(at))) continue;
        const bool mayAct = behindStatements || unclosed || !TextStatement::kindOf(line.text) ||
                            isStatementForOthers(at);
        if (isClosed && mayAct && beginsStatement(line.text)) out += kMutingGuard;
        out += line.text;
        const std::size_t last = line.text.find_last_not_of(kLineEnd);
        if (last != std::string_view::npos) isClosed = line.text[last] == ';';
    }
}

}  // namespace orbo::Data
