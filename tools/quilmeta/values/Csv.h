// Comma-separated values.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// Its text begins with "line N: ".
class CsvError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct CsvRecord {
    size_t line;  ///< the first line of the record, counted from 1
    std::vector<std::string> fields;
    std::vector<bool> quoted;  ///< for each field whether it stands in quotes
};

/// A field in double quotes may hold commas, line ends and doubled quotes; blanks belong to their
/// field. Lines end with LF or CR LF. Skips empty lines and a byte order mark. Throws `CsvError`.
std::vector<CsvRecord> parseCsv(std::string_view text);

/// Appends the text as a field, in quotes where it needs them, and where it is empty: an empty
/// field without quotes says that there is no text.
void appendCsv(std::string& out, std::string_view text);

}  // namespace orbo::Quilmeta
