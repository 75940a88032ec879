// Tells damaged bytes from whole ones.
// SPDX-License-Identifier: Apache-2.0
#include "files/Checksum.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

#include "files/File.h"

namespace orbo::Files {

namespace {

constexpr std::uint64_t kPolynomial = 0xC96C5795D7870F42;
constexpr std::size_t kSlices = 8;
constexpr std::uint64_t kBlockSize = 64 * 1024;

using Table = std::array<std::array<std::uint64_t, 256>, kSlices>;

// Row k is what a byte does to the state k bytes later. With eight rows, eight bytes are added in
// one step.
constexpr Table makeTable() {
    Table table{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        std::uint64_t state = byte;
        for (int bit = 0; bit < 8; ++bit) state = state >> 1 ^ ((state & 1) != 0 ? kPolynomial : 0);
        table[0][byte] = state;
    }
    for (std::size_t slice = 1; slice < kSlices; ++slice) {
        for (std::size_t byte = 0; byte < 256; ++byte) {
            const std::uint64_t before = table[slice - 1][byte];
            table[slice][byte] = before >> 8 ^ table[0][before & 0xFF];
        }
    }
    return table;
}

constexpr Table kTable = makeTable();

}  // namespace

void Checksum::add(std::string_view bytes) {
    std::uint64_t state = fState;
    for (; bytes.size() >= kSlices; bytes.remove_prefix(kSlices)) {
        for (std::size_t i = 0; i < kSlices; ++i) {
            state ^= std::uint64_t{static_cast<unsigned char>(bytes[i])} << 8 * i;
        }
        std::uint64_t next = 0;
        for (std::size_t i = 0; i < kSlices; ++i) {
            next ^= kTable[kSlices - 1 - i][state >> 8 * i & 0xFF];
        }
        state = next;
    }
    for (const char byte : bytes) {
        state = state >> 8 ^ kTable[0][(state ^ static_cast<unsigned char>(byte)) & 0xFF];
    }
    fState = state;
}

bool Checksum::add(File& file, std::uint64_t at, std::uint64_t size) {
    if (!file.seek(at)) return false;
    std::string block;
    for (std::uint64_t left = size; left > 0; left -= block.size()) {
        block.resize(static_cast<std::size_t>(std::min(left, kBlockSize)));
        if (!readExactly(file, block.data(), block.size())) return false;
        add(block);
    }
    return true;
}

}  // namespace orbo::Files
