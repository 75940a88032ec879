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

/// "512 B", "1.5 MiB".
inline std::string byteText(double bytes) {
    const char* unit = "B";
    for (const char* next : {"KiB", "MiB", "GiB", "TiB"}) {
        if (bytes < 1000) break;
        bytes /= 1024;
        unit = next;
    }
    return bytes < 10 && *unit != 'B' ? fmt::format("{:.1f} {}", bytes, unit)
                                      : fmt::format("{:.0f} {}", bytes, unit);
}

/// "0:07", "12:30", "3:00:00".
inline std::string timeText(double seconds) {
    constexpr double kLongest = 1e7;
    const auto whole = static_cast<long>(seconds < kLongest ? seconds + 0.5 : kLongest);
    const long minutes = whole / 60;
    if (minutes < 60) return fmt::format("{}:{:02}", minutes, whole % 60);
    return fmt::format("{}:{:02}:{:02}", minutes / 60, minutes % 60, whole % 60);
}

}  // namespace orbo::Quilmeta
