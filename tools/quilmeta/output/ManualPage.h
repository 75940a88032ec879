// Manual pages of the commands.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/CommandTable.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// "quilmeta-refs-list", the name of a page.
std::string manualName(const CommandRow& command);

/// Writes the page of one command, or of the program, in the language of `man`.
std::string manualPage(const CommandRow& command, const std::vector<CommandRow>& table);

}  // namespace orbo::Quilmeta
