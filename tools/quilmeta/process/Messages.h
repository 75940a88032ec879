// Messages to the user, on standard error.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Prints each line of `text` behind "quilmeta: SUBJECT: ", or behind "quilmeta: " without a
/// subject. A line that begins with a blank continues the one before and gets no prefix. Characters
/// that could control a terminal are escaped.
void complain(std::string_view subject, std::string_view text);

/// Returns the name of a file as the subject of a message; an empty name becomes "".
std::string subjectOf(const std::string& file);

/// Returns "No such file or directory" or the like for an `errno`.
std::string systemMessage(int error);

}  // namespace orbo::Quilmeta
