// Collects bytes that are partly new and partly there already.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Data {

/// Puts pieces together, as few as possible.
class PieceList {
  public:
    using Piece = SceneChange::Piece;

    /// Pieces of the next part have this message.
    void beginPart(std::string failure) {
        fPieces.push_back({{}, failure, {}});
        fFailure = std::move(failure);
    }
    /// Copies the bytes.
    void add(std::string_view bytes) {
        if (bytes.empty()) return;
        fSize += bytes.size();
        open().bytes += bytes;
    }
    /// The bytes outlive the pieces.
    void keep(std::string_view bytes) {
        if (bytes.empty()) return;
        fSize += bytes.size();
        if (!fPieces.empty()) {
            std::string_view& last = fPieces.back().kept;
            if (!last.empty() && last.data() + last.size() == bytes.data()) {
                last = {last.data(), last.size() + bytes.size()};
                return;
            }
        }
        open().kept = bytes;
    }
    void add(const std::vector<Piece>& pieces) {
        for (const Piece& piece : pieces) {
            add(piece.bytes);
            keep(piece.kept);
        }
    }
    /// Adds what the plan, which outlives the pieces, has for the new record with this number.
    void add(const ScenePlan& plan, std::size_t number) {
        const std::string& bytes = plan.entries[number].bytes;
        if (bytes.size() < kWorthAView) {
            add(bytes);
        } else {
            keep(bytes);
        }
        const auto pieces = plan.pieces.find(number);
        if (pieces != plan.pieces.end()) add(pieces->second);
    }
    [[nodiscard]] std::size_t size() const { return fSize; }
    [[nodiscard]] std::vector<Piece> take() { return std::move(fPieces); }

  private:
    // Each view is a write of its own.
    static constexpr std::size_t kWorthAView = 64 * 1024;

    /// The last piece, if nothing is kept behind its bytes, or a new one.
    Piece& open() {
        if (fPieces.empty() || !fPieces.back().kept.empty()) fPieces.push_back({{}, fFailure, {}});
        return fPieces.back();
    }

    std::vector<Piece> fPieces;
    std::string fFailure;
    std::size_t fSize = 0;
};

}  // namespace orbo::Data
