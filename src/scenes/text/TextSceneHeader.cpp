// The first line of text scenes: "//Quil ASCII 2016 scene".
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextSceneHeader.h"

#include <data/AccessorQuil.h>

#include <algorithm>

#include "core/Ascii.h"

namespace orbo::Data {

namespace {

// A longer first line is no header.
constexpr std::size_t kLongestHeader = 4096;
constexpr std::string_view kEnd = " scene";
constexpr std::size_t kYearLength = 4;
constexpr std::string_view kFirstYear = "2014";

bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Returns null when the header is right.
const char* problemOf(std::string_view line, bool cutOff) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    const std::string start = AccessorQuil::Ascii::getHeaderPrefix() + ' ';
    if (line.size() < start.size() + kYearLength + kEnd.size()) return "Header too small.";
    if (!Ascii::startsWith(line, start)) return "Unexpected header start.";
    if (cutOff || !endsWith(line, kEnd)) return "Unexpected header end.";
    const std::string_view year = line.substr(start.size(), kYearLength);
    const bool isNumber = std::all_of(year.begin(), year.end(), Ascii::isDigit);
    return isNumber && year >= kFirstYear ? nullptr : "Unsupported year.";
}

}  // namespace

bool checkTextSceneHeader(Files::File& file, Finding& problem) {
    using Code = Finding::Code;
    problem.offset = 0;
    std::string bytes(kLongestHeader, '\0');
    const auto got = file.seek(0) ? file.read(bytes.data(), bytes.size()) : std::nullopt;
    if (!got || *got == 0) {
        problem.code = got ? Code::kNotAScene : Code::kFileUnreadable;
        problem.message = "Error reading header.";
        return false;
    }
    const std::string_view text = std::string_view(bytes).substr(0, *got);
    const std::size_t feed = text.find('\n');
    const bool cutOff = feed == std::string_view::npos && *got == kLongestHeader;
    const char* const message = problemOf(text.substr(0, feed), cutOff);
    if (!message) return true;
    problem.code = Code::kNotAScene;
    problem.message = message;
    return false;
}

}  // namespace orbo::Data
