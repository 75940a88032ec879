// Scripts by which shells complete the words of a command line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "output/CommandTable.h"

#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Each completes commands, options and values that are a fixed set, and else names of files.
std::string bashCompletion(const std::vector<CommandRow>& table);
std::string zshCompletion(const std::vector<CommandRow>& table);
std::string fishCompletion(const std::vector<CommandRow>& table);

}  // namespace orbo::Quilmeta
