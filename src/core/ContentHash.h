// A fast hash of much content, for which nobody can prepare collisions.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/KeyedHash.h"

namespace orbo::Data {

/// Folds blocks of 32 words by NH, the universal hash of UMAC (Black, Halevi, Krawczyk, Krovetz,
/// Rogaway, 1999), with 32 secret words, and hashes what comes of it with `KeyedHash`. Two contents
/// that differ have the same value with a probability of about 2^-63, as long as their author does
/// not see values. It takes less than half of the instructions of `KeyedHash`, which is better for
/// names. The value differs from process to process.
class ContentHash {
  public:
    ContentHash() : fKeys(keys().data()) {}

    void add(std::uint64_t word) {
        if (fUsed == kRoom) foldAll();
        fWords[fUsed++] = word;
    }
    /// Two texts that are added hash differently from one text of both.
    void add(std::string_view text) {
        add(std::uint64_t{text.size()});
        addBytes(text.data(), text.size());
    }
    /// Adds bytes, filled up with zeros to a multiple of eight. Their number must be the same in
    /// all that is compared, or added before.
    void addBytes(const char* bytes, std::size_t count) {
        const std::size_t words = (count + kWord - 1) / kWord;
        if (words > kRoom - fUsed) return addMany(bytes, count);
        if (words == 0) return;
        std::uint64_t* const to = fWords.data() + fUsed;
        to[words - 1] = 0;
        std::memcpy(to, bytes, count);
        fUsed += words;
    }
    [[nodiscard]] std::uint64_t value() const;
    /// Makes this as new.
    void clear() {
        fFolded = KeyedHash();
        fUsed = 0;
    }

  private:
    static constexpr std::size_t kBlock = 32;          // words that are folded at once
    static constexpr std::size_t kRoom = 16 * kBlock;  // words
    static constexpr std::size_t kWord = sizeof(std::uint64_t);
    using Keys = std::array<std::uint64_t, kBlock>;

    static const Keys& keys();
    void fold(KeyedHash& folded, const std::uint64_t* words, std::size_t count) const;
    void foldAll();
    void addMany(const char* bytes, std::size_t count);

    const std::uint64_t* fKeys;
    KeyedHash fFolded;
    std::size_t fUsed = 0;
    std::array<std::uint64_t, kRoom> fWords;
};

}  // namespace orbo::Data
