// Comma-separated values.
// SPDX-License-Identifier: Apache-2.0
#include "values/Csv.h"

#include <fmt/format.h>

#include <algorithm>

namespace orbo::Quilmeta {

namespace {

/// Takes one record after the other from the front of the text.
class Parser {
  public:
    explicit Parser(std::string_view text) : fRest(text) {}

    [[nodiscard]] bool atEnd() const { return fRest.empty(); }

    CsvRecord record() {
        CsvRecord record{fLine, {}, {}};
        do {
            record.quoted.push_back(fRest.substr(0, 1) == "\"");
            record.fields.push_back(field());
        } while (take(","));
        if (!takeLineEnd() && !atEnd()) refuse("text behind a closing quote");
        return record;
    }
    bool takeLineEnd() {
        if (!take("\n") && !take("\r\n")) return false;
        ++fLine;
        return true;
    }

  private:
    bool take(std::string_view word) {
        if (fRest.substr(0, word.size()) != word) return false;
        fRest.remove_prefix(word.size());
        return true;
    }

    // A quote inside such a field is most likely a mistake, as in 3" steel, so it is refused.
    std::string field() {
        if (take("\"")) return quoted();
        size_t end = std::min(fRest.find_first_of(",\n"), fRest.size());
        if (fRest.substr(end, 1) == "\n" && end > 0 && fRest[end - 1] == '\r') --end;
        const std::string_view text = fRest.substr(0, end);
        if (text.find('"') != text.npos) refuse("a quote inside a field without quotes");
        fRest.remove_prefix(end);
        return std::string(text);
    }

    std::string quoted() {
        const size_t first = fLine;
        std::string text;
        do {
            const size_t end = fRest.find('"');
            if (end == fRest.npos) {
                // The line where the quote began helps more than the last line of the file.
                fLine = first;
                refuse("a quote that is never closed");
            }
            const std::string_view piece = fRest.substr(0, end);
            fLine += static_cast<size_t>(std::count(piece.begin(), piece.end(), '\n'));
            text += piece;
            fRest.remove_prefix(end + 1);
            // Two quotes stand for one.
            if (fRest.substr(0, 1) == "\"") text += '"';
        } while (take("\""));
        return text;
    }

    [[noreturn]] void refuse(const char* problem) const {
        throw CsvError(fmt::format("line {}: {}", fLine, problem));
    }

    std::string_view fRest;
    size_t fLine = 1;
};

}  // namespace

std::vector<CsvRecord> parseCsv(std::string_view text) {
    // Spreadsheets write this mark in front of the first field.
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        text.remove_prefix(kByteOrderMark.size());
    std::vector<CsvRecord> records;
    for (Parser parser(text); !parser.atEnd();)
        if (!parser.takeLineEnd()) records.push_back(parser.record());
    return records;
}

void appendCsv(std::string& out, std::string_view text) {
    if (!text.empty() && text.find_first_of("\",\r\n") == text.npos) {
        out += text;
        return;
    }
    out += '"';
    for (const char byte : text) {
        if (byte == '"') out += '"';
        out += byte;
    }
    out += '"';
}

}  // namespace orbo::Quilmeta
