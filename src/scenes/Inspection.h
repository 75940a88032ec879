// What a journal beside an open file says about it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Recovery.h>

#include <string>

#include "files/LockedFile.h"

namespace orbo::Data {

/// Describes the recovery that a file needs. `opening` is the result of `LockedFile::inspect`, also
/// when that failed.
Recovery inspectionOf(const Files::LockedFile::Opening& opening, const std::string& fileName);

}  // namespace orbo::Data
