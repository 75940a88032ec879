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

/// "a, b, c", cut short when there are many; `text` gives what is to be shown of an item.
template <typename Items, typename Text>
std::string shortList(const Items& items, Text&& text) {
    constexpr int kMost = 8;
    std::string list;
    int count = 0;
    for (const auto& item : items) {
        if (count == kMost) return list + ", ...";
        if (count++ > 0) list += ", ";
        list += text(item);
    }
    return list;
}

/// What there is, behind what there is not: " (members: a, b, c)"; nothing when there is nothing.
template <typename Items, typename Text>
std::string nameList(const char* what, const Items& items, Text&& text) {
    const std::string list = shortList(items, text);
    return list.empty() ? list : fmt::format(" ({}: {})", what, list);
}

}  // namespace orbo::Quilmeta
