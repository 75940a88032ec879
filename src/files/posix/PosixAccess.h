// Converts rights of files from and to mode bits and access control lists.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <system_error>

#include "files/FileAccess.h"

namespace orbo::Files {

/// Encodes a list for the extended attribute `system.posix_acl_access`.
std::string accessListBytes(const FileAccess& access);
/// Decodes the rights from such bytes; `access` has the owner and the group already. Returns false,
/// with `access` undefined, when they are not a list.
bool readAccessList(std::string_view bytes, FileAccess& access);

/// The rights of an open file. Empty on failure.
std::optional<FileAccess> accessOf(int descriptor, std::error_code& error);
/// The rights of the file of this name; does not follow a link. Empty on failure.
std::optional<FileAccess> accessOf(const std::string& path, std::error_code& error);

/// Gives a new and empty file, which only this process's user may use so far, the rights of a
/// journal beside a file with the rights `file`. At no moment does anybody have more rights than in
/// the end. Returns false when those rights cannot be granted.
bool giveJournalAccess(int descriptor, const FileAccess& file, std::error_code& error);

/// The groups of a user: those of this process for its own user, otherwise those of the user data
/// base. Empty for a user whom that does not know.
std::optional<std::vector<std::uint64_t>> groupsOfUser(std::uint64_t user);
/// The name of a user; empty without one.
std::string nameOfUser(std::uint64_t user);

}  // namespace orbo::Files
