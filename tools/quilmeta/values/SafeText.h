// Names and strings from a file as they may be shown on a terminal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// On one line in double quotes. Quotes, backslashes, unprintable characters and bytes that are no
/// UTF-8 are escaped: \" \\ \n \t \r \x1b \u{202e}.
std::string inQuotes(std::string_view text);
/// As it is when nobody could misread it, else `inQuotes`.
std::string shownName(std::string_view name);
/// As `shownName`, but with backslashes as they are: outside of quotes they escape nothing.
std::string shownPath(std::string_view path);
/// The name of a node; "(scene)" for the scene itself.
std::string shownNode(std::string_view name);
/// As it is, but for unprintable characters and bytes that are no UTF-8: for messages.
std::string safeLine(std::string_view text);

}  // namespace orbo::Quilmeta
