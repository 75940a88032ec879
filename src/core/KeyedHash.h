// A hash for which nobody can prepare collisions.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "core/EightBytes.h"

namespace orbo::Data {

/// SipHash-1-3 with a secret key. With a known hash function, a file's author could choose names
/// that collide, so that each look-up walks over all names. So tables whose keys come from files
/// are ordered, or use this hash. The value differs from process to process; nothing that is shown
/// or stored may depend on it.
///
/// `of` hashes one name. To hash several parts, make an object, `add` them and ask for the `value`.
class KeyedHash {
  public:
    struct Key {
        std::uint64_t first = 0;
        std::uint64_t second = 0;
    };

    /// Hashes with the key of this process, which is drawn at the first use.
    static std::uint64_t of(std::string_view name) { return ofProcess().taken(name); }

    static std::uint64_t of(std::string_view name, const Key& key) {
        return KeyedHash(key).taken(name);
    }

    /// Has the key of this process, and nothing added yet.
    KeyedHash() : KeyedHash(ofProcess()) {}

    void add(std::uint64_t word) {
        ++fWords;
        mix(word);
    }
    [[nodiscard]] std::uint64_t value() const {
        KeyedHash hash(*this);
        hash.mix(fWords);
        return hash.finish();
    }

    /// Loads fewer than eight bytes, the first lowest.
    static std::uint64_t lastBytes(const char* from, std::size_t count) {
        if (EightBytes::kUsable && count >= 4) {  // two halves that may overlap
            return word<std::uint32_t>(from) | std::uint64_t{word<std::uint32_t>(from + count - 4)}
                                                   << (8 * (count - 4));
        }
        std::uint64_t bytes = 0;
        while (count-- > 0) bytes = bytes << 8 | static_cast<unsigned char>(from[count]);
        return bytes;
    }

  private:
    /// Has the key of this process, and nothing added yet.
    static const KeyedHash& ofProcess();

    explicit constexpr KeyedHash(const Key& key)
        : a(key.first ^ 0x736f6d6570736575),
          b(key.second ^ 0x646f72616e646f6d),
          c(key.first ^ 0x6c7967656e657261),
          d(key.second ^ 0x7465646279746573) {}

    [[nodiscard]] std::uint64_t taken(std::string_view name) const {
        KeyedHash hash(*this);
        const char* next = name.data();
        std::size_t left = name.size();
        for (; left >= 8; left -= 8, next += 8) hash.mix(word<std::uint64_t>(next));
        hash.mix(std::uint64_t{name.size()} << 56 | lastBytes(next, left));
        return hash.finish();
    }

    void mix(std::uint64_t word) {
        d ^= word;
        round();
        a ^= word;
    }
    std::uint64_t finish() {
        c ^= 0xff;
        round();
        round();
        round();
        return a ^ b ^ c ^ d;
    }

    void round() {
        a += b;
        c += d;
        b = rotated(b, 13) ^ a;
        d = rotated(d, 16) ^ c;
        a = rotated(a, 32) + d;
        c += b;
        d = rotated(d, 21) ^ a;
        b = rotated(b, 17) ^ c;
        c = rotated(c, 32);
    }
    static constexpr std::uint64_t rotated(std::uint64_t value, int bits) {
        return value << bits | value >> (64 - bits);
    }

    template <typename Word>
    static Word word(const char* from) {
        Word word = 0;
        std::memcpy(&word, from, sizeof word);
        return word;
    }
    std::uint64_t a, b, c, d;
    std::uint64_t fWords = 0;
};

}  // namespace orbo::Data
