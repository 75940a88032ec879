// Comma-separated values.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

struct CsvRecord {
    size_t line;  ///< that it begins on, from 1
    std::vector<std::string> fields;
};

/// A field in double quotes may hold commas, line ends and doubled quotes; blanks belong to their
/// field. Lines end with LF or CR LF; empty ones, and a byte order mark, are left out. Throws
/// `Trouble` that begins with "line N: ".
std::vector<CsvRecord> parseCsv(std::string_view text);

}  // namespace orbo::Quilmeta
