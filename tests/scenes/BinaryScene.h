// Makes binary scenes for tests, any claim of which can be made a lie.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace orbo::Data {

inline std::string number(std::uint64_t value, int bytes) {
    std::string result;
    while (bytes-- > 0) result += static_cast<char>(value >> (8 * bytes) & 0xFF);
    return result;
}

inline std::string chunk(const std::string& tag, const std::string& data,
                         std::optional<std::uint64_t> claimedSize = std::nullopt) {
    return tag + number(0, 4) + number(claimedSize.value_or(data.size()), 8) + data +
           std::string((8 - data.size() % 8) % 8, '\0');
}

/// Zero-terminated strings in a row.
template <typename... Strings>
std::string strings(const Strings&... all) {
    return ((std::string(all) + '\0') + ...);
}
inline std::string structureChunk(const std::string& text) {
    return chunk("DATS", strings("raw", text));
}
/// Of the scene for an empty name.
inline std::string nodeChunk(const std::string& name, const std::string& text) {
    return chunk(name.empty() ? "SMTD" : "MTDA", strings(name, "raw", text));
}

struct BinaryScene {
    explicit BinaryScene(std::string chunks = {}) : content(std::move(chunks)) {}

    std::string content;  // chunks of the trailer

    std::string sceneChunks = chunk("MESH", "the scene itself, any chunks");
    std::string mainTag = "FOR8";
    std::string mainType = "Quil";
    std::string endTag = "BCSZ";
    std::uint64_t endSize = 4;
    std::string behind;
    // What the sizes are said to be, where that is not the truth.
    std::optional<std::uint64_t> mainSize;
    std::optional<std::uint64_t> trailerSize;
    std::optional<std::uint32_t> distance;

    /// Ahead of the chunks of the trailer.
    [[nodiscard]] std::string front() const {
        const std::uint64_t end = 20 + sceneChunks.size() + 20 + content.size() + 24;
        return mainTag + number(0, 4) + number(mainSize.value_or(end - 16), 8) + mainType +
               sceneChunks + "FOR8" + number(0, 4) +
               number(trailerSize.value_or(content.size() + 28), 8) + "TRLR";
    }
    [[nodiscard]] std::string bytes() const {
        const auto back = distance.value_or(static_cast<std::uint32_t>(content.size() + 20));
        return front() + content + endTag + number(0, 4) + number(endSize, 8) + number(back, 4) +
               number(0, 4) + behind;
    }
};

}  // namespace orbo::Data
