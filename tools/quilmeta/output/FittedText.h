// Help texts that fit a terminal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Breaks lines that are wider than `width`: between words, with the second column of a list of
/// options below its beginning, or below the option on a narrow terminal. Paragraphs are filled
/// anew; a command of an example is continued behind a backslash. 0 leaves the text as it is.
std::string fittedText(std::string_view text, size_t width);

/// Breaks one line, which begins with blanks, between words; what follows is indented further.
std::string fittedLine(std::string_view line, size_t width);

}  // namespace orbo::Quilmeta
