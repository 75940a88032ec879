// The commands and options as the parser has them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/CommandTable.h"

#include <vector>

namespace CLI {
class App;
}

namespace orbo::Quilmeta {

/// The program, and behind it each of its commands, in the order of the help. Read from what the
/// parser itself goes by, so all options must have been declared.
std::vector<CommandRow> commandTable(const CLI::App& program);

}  // namespace orbo::Quilmeta
