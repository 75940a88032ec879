// The advisory lock that readers and writers of one file take on its descriptor.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <system_error>

#include "files/File.h"

namespace orbo::Files {

/// Locks the whole file, in place of a lock that the descriptor has already. Never waits. Sets
/// `error` unless the result is `kLocked`. To lock in another way, change these two functions.
File::LockResult lockDescriptor(int descriptor, File::Lock kind, std::error_code& error);
void unlockDescriptor(int descriptor);

}  // namespace orbo::Files
