// Where the bytes go that a user asks to write to a path.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace orbo::Quilmeta {

/// The N of /dev/fd/N and its other names, such as /dev/stdout. Whoever opened that descriptor
/// wants the bytes where it stands, so the path must not be followed to the file behind it.
std::optional<int> descriptorNamed(const std::string& path);

/// The file that `path` leads to through symbolic links. Stops at the name of a descriptor. Throws
/// `CommandError` when a link leads nowhere.
std::string behindLinks(const std::string& path);

enum class Rename {
    kNeverOver,  ///< fails with EEXIST when there is a file at the new name
    kExchange,   ///< both names must exist, and change their files at the same moment
};

/// Returns 0, or -1 with `errno`: ENOSYS means that the system or the file system cannot do that.
int rename(const std::string& from, const std::string& to, Rename how);

}  // namespace orbo::Quilmeta
