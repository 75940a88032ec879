// Commands that are programs of their own.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orbo::Quilmeta {

/// Becomes the program quilmeta-NAME, which is looked for beside this program and then on the path,
/// with the words behind `name` as its arguments. Returns when there is none: `name` must have
/// letters, digits, "-" and "_" only. Returns also in a process that has more rights than its
/// caller, who could name any program by the path. Throws `CommandError` when it is there but
/// cannot be started.
void becomeExternalCommand(const std::string& name, char** wordsBehind);

}  // namespace orbo::Quilmeta
