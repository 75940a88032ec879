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
        fBlock[fUsed++] = word;
        if (fUsed < kWords) return;
        fold(reinterpret_cast<const char*>(fBlock.data()), kWords);
        fUsed = 0;
    }
    /// Two texts that are added hash differently from one text of both.
    void add(std::string_view text) {
        add(std::uint64_t{text.size()});
        addBytes(text.data(), text.size());
    }
    /// Adds bytes, filled up with zeros to a multiple of eight. Their number must be the same in
    /// all that is compared, or added before.
    void addBytes(const char* bytes, std::size_t count) {
        constexpr std::size_t kBlock = kWords * kWord;
        for (; fUsed == 0 && count >= kBlock; count -= kBlock, bytes += kBlock) fold(bytes, kWords);
        for (; count >= kWord; count -= kWord, bytes += kWord) add(wordAt(bytes));
        if (count > 0) add(KeyedHash::lastBytes(bytes, count));
    }
    [[nodiscard]] std::uint64_t value() const {
        ContentHash hash(*this);
        hash.fFolded.add(std::uint64_t{fUsed});
        if (fUsed % 2 != 0) hash.fBlock[hash.fUsed++] = 0;
        hash.fold(reinterpret_cast<const char*>(hash.fBlock.data()), hash.fUsed);
        return hash.fFolded.value();
    }

  private:
    static constexpr std::size_t kWords = 32;
    static constexpr std::size_t kWord = 8;
    using Keys = std::array<std::uint64_t, kWords>;

    static const Keys& keys();
    static std::uint64_t wordAt(const char* bytes) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes, sizeof word);
        return word;
    }

    // `count` is even.
    void fold(const char* words, std::size_t count) {
        __extension__ using Wide = unsigned __int128;
        Wide sum = 0;
        for (std::size_t i = 0; i < count; i += 2, words += 2 * kWord) {
            sum += Wide{wordAt(words) + fKeys[i]} * (wordAt(words + kWord) + fKeys[i + 1]);
        }
        fFolded.add(static_cast<std::uint64_t>(sum));
        fFolded.add(static_cast<std::uint64_t>(sum >> 64));
    }

    const std::uint64_t* fKeys;
    KeyedHash fFolded;
    std::size_t fUsed = 0;  // less than `kWords`
    std::array<std::uint64_t, kWords> fBlock;
};

}  // namespace orbo::Data
