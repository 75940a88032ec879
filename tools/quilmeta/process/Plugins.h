// Plug-ins: shared objects that register kinds of scenes, formats and index types.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Loads the files that the environment variable QUILMETA_PLUGINS lists, separated by colons, then
/// `files`. What they register stays until the process ends. Throws `CommandError` that names the
/// file and the reason: when it cannot be loaded, when other users could have put it there, or
/// when the program runs with more rights than its caller has.
void loadPlugins(const std::vector<std::string>& files);

}  // namespace orbo::Quilmeta
