// Options of the user for looking for files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

struct LookupArguments {
    std::vector<std::string> definitions;  ///< "NAME=VALUE"
    std::optional<std::string> tiles;      ///< "1001-1010,1021"
};

}  // namespace orbo::Quilmeta
