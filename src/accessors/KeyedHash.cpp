// A hash that nobody outside the process can foresee.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/KeyedHash.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <exception>
#include <random>

namespace orbo::Data {

namespace {

using Key = std::array<std::uint64_t, 2>;

Key drawKey() {
    // The clock and the place in memory serve where the system has no random numbers to give.
    Key key{static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()),
            reinterpret_cast<std::uintptr_t>(&key)};
    try {
        std::random_device random;
        for (std::uint64_t& word : key) word ^= std::uint64_t{random()} << 32 ^ random();
    } catch (const std::exception&) {
        return key;
    }
    return key;
}

const Key& processKey() {
    static const Key key = drawKey();
    return key;
}

constexpr std::uint64_t rotated(std::uint64_t word, int bits) {
    return word << bits | word >> (64 - bits);
}

}  // namespace

KeyedHash::KeyedHash() {
    const Key& key = processKey();
    fState = {key[0] ^ 0x736F6D6570736575, key[1] ^ 0x646F72616E646F6D, key[0] ^ 0x6C7967656E657261,
              key[1] ^ 0x7465646279746573};
}

void KeyedHash::round() {
    auto& [a, b, c, d] = fState;
    a += b;
    b = rotated(b, 13) ^ a;
    a = rotated(a, 32);
    c += d;
    d = rotated(d, 16) ^ c;
    a += d;
    d = rotated(d, 21) ^ a;
    c += b;
    b = rotated(b, 17) ^ c;
    c = rotated(c, 32);
}

void KeyedHash::add(std::uint64_t word) {
    ++fWords;
    fState[3] ^= word;
    round();
    fState[0] ^= word;
}

void KeyedHash::add(std::string_view text) {
    add(std::uint64_t{text.size()});
    addBytes(text.data(), text.size());
}

void KeyedHash::addBytes(const char* bytes, std::size_t count) {
    while (count > 0) {
        std::uint64_t word = 0;
        const std::size_t taken = std::min(count, sizeof word);
        std::memcpy(&word, bytes, taken);
        add(word);
        bytes += taken;
        count -= taken;
    }
}

std::uint64_t KeyedHash::value() {
    add(fWords);
    fState[2] ^= 0xFF;
    for (int i = 0; i < 3; ++i) round();
    return fState[0] ^ fState[1] ^ fState[2] ^ fState[3];
}

}  // namespace orbo::Data
