// What is mounted in this system.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace orbo::Files {

/// Where files are mounted, as far as can be told by names, that may be the file of this path. The
/// table is in the format of `/proc/self/mountinfo`.
std::vector<std::string> mountsOfFile(const std::string& path, std::istream& table);
/// From the table of this process; nowhere if there is none.
std::vector<std::string> mountsOfFile(const std::string& path);

}  // namespace orbo::Files
