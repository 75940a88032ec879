// Hands owner, permissions and attributes of a file on to the one that replaces it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/stat.h>

#include <string>

namespace orbo::Quilmeta {

/// Gives a new and empty file, which only this process's user may use so far, the owner, the group,
/// the mode, the access control list, the label and the user's attributes of the file at
/// `replaced`, whose status is `there`. Where owner and group cannot be given away, or there is no
/// list to be had, nobody but this user gets more rights than that file gives. Does not follow a
/// link at `replaced`.
void keepAccess(int descriptor, const std::string& replaced, const struct stat& there);

}  // namespace orbo::Quilmeta
