// Finds mounts of single files in the table of the system.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>
#include <string>
#include <vector>

namespace orbo::Files {

/// The mount points that may show the file of this path, judged by their names. The table has the
/// format of `/proc/self/mountinfo`.
std::vector<std::string> mountsOfFile(const std::string& path, std::istream& table);
/// Does the same with the table of this process; empty if there is none.
std::vector<std::string> mountsOfFile(const std::string& path);

}  // namespace orbo::Files
