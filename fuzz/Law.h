// What every fuzzing target has: an entry, and a way to say that a law is broken.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Calls the target once. Both libFuzzer and Replay.cpp do.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace orbo::Fuzz {

/// Ends the process when the law does not hold, showing what it was about.
inline void demand(bool holds, const char* law, std::string_view first = {},
                   std::string_view second = {}) {
    if (holds) return;
    std::fprintf(stderr, "BROKEN LAW: %s\n", law);
    for (const std::string_view text : {first, second}) {
        std::fputs("----\n", stderr);
        std::fwrite(text.data(), 1, text.size(), stderr);
    }
    std::fputs("\n", stderr);
    std::abort();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Takes what is in front of the next record separator, and the separator, away from `text`.
inline std::string_view takePart(std::string_view& text) {
    const std::string_view part = text.substr(0, text.find('\x1E'));
    text.remove_prefix(part.size() < text.size() ? part.size() + 1 : text.size());
    return part;
}

}  // namespace orbo::Fuzz
