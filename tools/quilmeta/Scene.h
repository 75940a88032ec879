// Opens and writes a scene file the way every command does.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>

#include <memory>
#include <set>
#include <string>

namespace orbo::Quilmeta {

/// Reads the file, with the careful write policy and unknown index types as text. Statements that
/// could not be used are reported to standard error, and `complete` says that there were none.
/// Throws `Trouble` when there is nothing to work on.
std::unique_ptr<Data::Accessor> openScene(const std::string& file, bool* complete = nullptr);

/// Whether all that the file says of these nodes can be read. For files where something cannot be:
/// it reads the file twice.
bool isReadable(const std::string& file, const std::set<std::string>& nodes);

/// The empty name is the scene's own. Throws `Trouble` that lists the nodes there are.
Data::Associations& findNode(Data::Accessor& scene, const std::string& name);

/// Messages go to standard error. Throws `Trouble` when the file was not written.
void writeScene(const Data::Accessor& scene);

}  // namespace orbo::Quilmeta
