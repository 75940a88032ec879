// Help texts that fit a terminal.
// SPDX-License-Identifier: Apache-2.0
#include "output/FittedText.h"

#include "values/Utf8.h"

#include <algorithm>

namespace orbo::Quilmeta {

namespace {

// Where the second column of CLI11's lists begins.
constexpr size_t kSecondColumn = 24;
// On narrower terminals there is no second column.
constexpr size_t kTwoColumns = 60;
constexpr size_t kIndentBelow = 6;

/// Fills lines with words.
class Filler {
  public:
    Filler(std::string& out, size_t width, size_t hanging, const char* ending = "")
        : fOut(out), fWidth(width), fHanging(hanging), fEnding(ending) {}

    /// Continues the present line, which has this many columns.
    void startAt(size_t column) {
        fColumn = column;
        fIsStart = true;
    }

    void add(std::string_view text) {
        while (!text.empty()) {
            const size_t end = std::min(text.find(' '), text.size());
            if (end > 0) word(text.substr(0, end));
            text.remove_prefix(std::min(end + 1, text.size()));
        }
    }

  private:
    void word(std::string_view word) {
        const size_t used = displayWidth(word);
        const size_t room = displayWidth(fEnding);
        if (!fIsStart && fColumn + 1 + used + room > fWidth) {
            // Between quotes a backslash would be a part of the word.
            fOut.append(fIsQuoted ? "" : fEnding) += '\n';
            fOut.append(fHanging, ' ');
            fColumn = fHanging;
            fIsStart = true;
        }
        if (!fIsStart) fOut += ' ';
        fOut += word;
        if (std::count(word.begin(), word.end(), '\'') % 2 == 1) fIsQuoted = !fIsQuoted;
        fColumn += used + (fIsStart ? 0 : 1);
        fIsStart = false;
    }

    std::string& fOut;
    size_t fWidth, fHanging;
    const char* fEnding;
    size_t fColumn = 0;
    bool fIsStart = true;
    bool fIsQuoted = false;
};

/// Where the second column of a line begins; npos when it has none.
size_t secondColumn(std::string_view line) {
    const size_t first = line.find_first_not_of(' ');
    if (first >= kSecondColumn) return first;
    const size_t gap = line.find("  ", first);
    return gap == line.npos ? gap : line.find_first_not_of(' ', gap);
}

void addOption(std::string& out, std::string_view line, size_t second, size_t width) {
    const bool isNarrow = width < kTwoColumns;
    std::string_view name = line.substr(0, second);
    name = name.substr(0, name.find_last_not_of(' ') + 1);
    const size_t hanging = isNarrow ? kIndentBelow : kSecondColumn;
    if (!isNarrow) {
        out += line.substr(0, second);
    } else {
        if (!name.empty()) out.append(name) += '\n';
        out.append(hanging, ' ');
    }
    Filler filler(out, width, hanging);
    filler.startAt(isNarrow ? hanging : second);
    filler.add(line.substr(second));
    out += '\n';
}

void addIndented(std::string& out, std::string_view line, size_t width) {
    const size_t second = secondColumn(line);
    const bool isList = second != line.npos && second >= kSecondColumn;
    if (isList && (width < kTwoColumns || displayWidth(line) > width))
        return addOption(out, line, second, width);
    if (displayWidth(line) <= width) {
        out.append(line) += '\n';
        return;
    }
    const size_t indent = line.find_first_not_of(' ');
    out.append(indent, ' ');
    Filler filler(out, width, kIndentBelow, " \\");
    filler.startAt(indent);
    filler.add(line.substr(indent));
    out += '\n';
}

/// Takes the line off the text.
std::string_view takeLine(std::string_view& text) {
    const size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

bool endsParagraph(std::string_view line) {
    return line.empty() || line.front() == ' ' || line.back() == ':' ||
           line.substr(0, 6) == "Usage:";
}

}  // namespace

std::string fittedLine(std::string_view line, size_t width) {
    const size_t indent = std::min(line.find_first_not_of(' '), line.size());
    if (width == 0 || displayWidth(line) <= width) return std::string(line);
    std::string out(indent, ' ');
    Filler filler(out, width, indent + 4);
    filler.startAt(indent);
    filler.add(line.substr(indent));
    return out;
}

std::string fittedText(std::string_view text, size_t width) {
    std::string out;
    if (width == 0) return std::string(text);
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (line.empty() || line.front() == ' ') {
            if (line.empty())
                out += '\n';
            else
                addIndented(out, line, width);
            continue;
        }
        Filler filler(out, width, 0);
        filler.add(line);
        while (line.back() != ':' && !text.empty()) {
            std::string_view rest = text;
            if (endsParagraph(takeLine(rest))) break;
            filler.add(takeLine(text));
        }
        out += '\n';
    }
    return out;
}

}  // namespace orbo::Quilmeta
