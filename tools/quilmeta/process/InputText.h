// The text of a file that the user names for input.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orbo::Quilmeta {

/// Reads all of a file, a pipe or a device; "-" is standard input. Throws `CommandError` without
/// the file's name when it cannot be read.
std::string inputText(const std::string& file);

}  // namespace orbo::Quilmeta
