// Names and strings from a file as they may be shown on a terminal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// The text on one line in double quotes. Quotes, backslashes, unprintable characters and bytes
/// that are no UTF-8 are escaped: \" \\ \n \t \r \x1b \u{202e}.
std::string inQuotes(std::string_view text);
/// The name as it is when nobody can misread it, else `inQuotes`.
std::string shownName(std::string_view name);
/// Like `shownName`, but a backslash alone is no reason for quotes: paths may be full of them.
std::string shownPath(std::string_view path);
/// The name of a node; "(scene)" for the scene itself.
std::string shownNode(std::string_view name);
/// The text without quotes, for messages. Unprintable characters and bytes that are no UTF-8 are
/// escaped.
std::string safeLine(std::string_view text);

}  // namespace orbo::Quilmeta
