// What there is, for messages about what there is not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "SafeText.h"

#include <fmt/format.h>

#include <string>

namespace orbo::Quilmeta {

/// " (members: a, b, c)", shortened when there are many; `name` gives an item's name.
template <typename Items, typename Name>
std::string nameList(const char* what, const Items& items, Name&& name) {
    constexpr int kMost = 8;
    std::string list;
    int count = 0;
    for (const auto& item : items) {
        if (count == kMost) {
            list += ", ...";
            break;
        }
        if (count++ > 0) list += ", ";
        list += shownName(name(item));
    }
    return list.empty() ? list : fmt::format(" ({}: {})", what, list);
}

}  // namespace orbo::Quilmeta
