// Reads the numbers in the text of an index.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>

#include <cstddef>
#include <optional>
#include <string_view>

namespace orbo::Data {

/// Reads so many unsigned 32-bit numbers with blanks, tabs and carriage returns around them. A line
/// feed is an error, because an index is one line. Returns what is wrong: `eMalformedIndex` for any
/// other character, wherever it stands, for too few numbers and for one that is too large,
/// `eTrailingData` for too many. Throws nothing: of a hostile text, each line may be wrong.
std::optional<Index::eCreationErrors> readIndexNumbers(std::string_view text, unsigned int* numbers,
                                                       std::size_t count);
/// Throws what is wrong.
void takeIndexNumbers(std::string_view text, unsigned int* numbers, std::size_t count);

}  // namespace orbo::Data
