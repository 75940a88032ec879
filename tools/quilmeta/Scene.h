// Opens a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <memory>
#include <string>

namespace orbo::Quilmeta {

/// Reads the file, with the careful write policy and unknown index types as text. Statements that
/// could not be used are reported to standard error, and `complete` says that there were none.
/// Throws `Trouble` when there is nothing to work on.
std::unique_ptr<Data::Accessor> openScene(const std::string& file, bool* complete = nullptr);

}  // namespace orbo::Quilmeta
