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

/// "a, b, c", cut short when there are many. `text` turns an item into its text.
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

/// Tells what there is, after a message about what is missing: " (members: a, b, c)". Empty without
/// items.
template <typename Items, typename Text>
std::string nameList(const char* what, const Items& items, Text&& text) {
    const std::string list = shortList(items, text);
    return list.empty() ? list : fmt::format(" ({}: {})", what, list);
}

}  // namespace orbo::Quilmeta
