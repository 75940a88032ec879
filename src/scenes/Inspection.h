// What a journal beside an open file says about it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Recovery.h>

#include <string>

#include "files/LockedFile.h"

namespace orbo::Data {

/// Of a file that was opened to be inspected, or that could not be.
Recovery inspectionOf(const Files::LockedFile::Opening& opening, const std::string& fileName);

}  // namespace orbo::Data
