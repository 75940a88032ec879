// Tables and texts in files, where they read as they are, without the escapes of C++.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace orbo {

struct Case {
    std::string name;
    std::vector<std::string> parts;
};

/// "%0D" is a byte; "%" at the end of a line takes its line feed away.
inline std::string decoded(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
        } else if (text[++i] != '\n') {
            bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
            ++i;
        }
    }
    return bytes;
}

/// The rows of the table tests/<path>: cells between " | ", without the blanks at their ends. Lines
/// that begin with "# " are remarks.
inline std::vector<std::vector<std::string>> rowsOf(const std::string& path) {
    std::ifstream in(METADATA_SOURCE_DIR "/tests/" + path);
    std::vector<std::vector<std::string>> rows;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line.substr(0, 2) == "# ") continue;
        line += ' ';
        rows.emplace_back();
        for (std::size_t end = 0; end != std::string::npos;) {
            end = line.find(" | ");
            std::string cell = line.substr(0, end);
            cell.erase(cell.find_last_not_of(' ') + 1);
            rows.back().push_back(decoded(cell.erase(0, cell.find_first_not_of(' '))));
            if (end != std::string::npos) line.erase(0, end + 3);
        }
    }
    EXPECT_FALSE(rows.empty()) << path;
    return rows;
}

/// Those of tests/<path>. "== NAME" begins a case, "-- TEXT" a part of one line, "--" one of whole
/// lines, and "# " a remark.
inline std::vector<Case> casesOf(const std::string& path) {
    std::ifstream in(METADATA_SOURCE_DIR "/tests/" + path);
    std::vector<Case> cases;
    for (std::string line; std::getline(in, line);) {
        const std::string mark = line.substr(0, 2);
        if (mark == "# ") continue;
        if (mark == "==") {
            cases.push_back({line.substr(3), {}});
        } else if (mark == "--") {
            cases.back().parts.push_back(line.size() > 3 ? decoded(line.substr(3)) : "");
        } else {
            cases.back().parts.back() += decoded(line + "\n");
        }
    }
    EXPECT_FALSE(cases.empty()) << path;
    return cases;
}

}  // namespace orbo
