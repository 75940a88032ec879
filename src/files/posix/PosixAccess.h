// Rights of files as the operating system keeps them: mode bits and access control lists.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "files/FileAccess.h"

namespace orbo::Files {

/// The bytes of a list in the extended attribute `system.posix_acl_access`.
std::string accessListBytes(const FileAccess& access);
/// Takes the rights from such bytes; `access` has the owner and the group already. False when they
/// are no list; then `access` is undefined.
bool readAccessList(std::string_view bytes, FileAccess& access);

/// Of an open file. Empty on failure.
std::optional<FileAccess> accessOf(int descriptor, std::error_code& error);
/// Of what has this name; a link is not followed. Empty on failure.
std::optional<FileAccess> accessOf(const std::string& path, std::error_code& error);

/// Gives a new and empty file, which nobody but this process's user may use yet, the rights of a
/// journal beside a file with the rights `file`. At no moment has anybody more rights than in the
/// end. False when that cannot be had.
bool giveJournalAccess(int descriptor, const FileAccess& file, std::error_code& error);

/// The groups that a user is in, as far as the system tells: those of this process if it is its
/// own user, and else those of the user data base. Empty for a user whom that does not know.
std::optional<std::vector<std::uint64_t>> groupsOfUser(std::uint64_t user);
/// Empty for a user without a name.
std::string nameOfUser(std::uint64_t user);

}  // namespace orbo::Files
