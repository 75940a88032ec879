// Names a place in the text of associations.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>

namespace orbo::Data {

/// Each name is set as far as it is known.
struct TextPlace {
    std::optional<std::string> channel = {};
    std::optional<std::string> stream = {};
    std::optional<std::string> index = {};  // in its text form
    std::optional<std::string> member = {};
};

/// "Channel 'c', stream 's', index 1, member 'x'", as far as it is known.
std::string wordsFor(const TextPlace& place);

}  // namespace orbo::Data
