// Phrases that messages have in common.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>

#include <string>

namespace orbo::Quilmeta {

/// "1 value", "3 values".
inline std::string counted(size_t count, const char* thing) {
    return fmt::format("{} {}{}", count, thing, count == 1 ? "" : "s");
}

/// What there is, ahead of what there is not: " (members: a, b, c)", shortened when there are many;
/// `name` gives an item's
/// name as it is to be shown.
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
        list += name(item);
    }
    return list.empty() ? list : fmt::format(" ({}: {})", what, list);
}

}  // namespace orbo::Quilmeta
