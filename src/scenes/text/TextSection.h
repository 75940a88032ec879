// The new metadata section of a text scene.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "scenes/text/TextForeignLines.h"
#include "scenes/text/TextLayout.h"

namespace orbo::Data {

/// Composes the section: statements, then all other lines of the old section, then the trailer.
class TextSection {
  public:
    /// `tail` is everything from the layout's begin on. Both outlive the section and its changes.
    TextSection(const TextLayout& layout, std::string_view tail) : fLayout(layout), fTail(tail) {}

    [[nodiscard]] SceneChange changeFor(const ScenePlan& plan) const;

  private:
    [[nodiscard]] std::string_view bytes(std::uint64_t from, std::uint64_t to) const {
        return fTail.substr(static_cast<std::size_t>(from - fLayout.begin),
                            static_cast<std::size_t>(to - from));
    }
    [[nodiscard]] bool firstIsUnderstood() const {
        return !fLayout.records.empty() && fLayout.records.front().understood;
    }
    [[nodiscard]] std::uint64_t begin() const;
    [[nodiscard]] std::uint64_t understoodEnd() const;
    [[nodiscard]] bool needsClosingGuard() const;
    [[nodiscard]] TextForeignLines foreignLines() const;
    [[nodiscard]] std::vector<SceneChange::Piece> piecesFor(const ScenePlan& plan) const;

    const TextLayout& fLayout;
    const std::string_view fTail;
};

}  // namespace orbo::Data
