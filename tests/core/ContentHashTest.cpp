// The hash of much content.
// SPDX-License-Identifier: Apache-2.0
#include "core/ContentHash.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

namespace orbo::Data {
namespace {

std::uint64_t valueOf(std::string_view bytes) {
    ContentHash hash;
    hash.addBytes(bytes.data(), bytes.size());
    return hash.value();
}

TEST(ContentHash, IsTheSameInWhateverPieces) {
    std::mt19937 random(1);
    for (std::size_t size : {0, 8, 248, 256, 264, 512, 4000}) {
        std::string bytes(size, '\0');
        for (char& c : bytes) c = static_cast<char>(random());
        ContentHash hash;
        for (std::string_view left = bytes; !left.empty();) {
            const std::size_t piece = std::min<std::size_t>(left.size(), random() % 60 * 8);
            hash.addBytes(left.data(), piece);
            left.remove_prefix(piece);
        }
        EXPECT_EQ(hash.value(), valueOf(bytes)) << size;
        EXPECT_EQ(hash.value(), hash.value());
    }
}

TEST(ContentHash, DiffersForWhateverDiffers) {
    for (const std::size_t size : {1, 7, 8, 31, 255, 256, 257, 600}) {
        std::set<std::uint64_t> values;
        std::string bytes(size, 'a');
        values.insert(valueOf(bytes));
        for (std::size_t i = 0; i < size; ++i) {
            for (const int bit : {1, 128}) {
                bytes[i] = static_cast<char>(bytes[i] ^ bit);
                values.insert(valueOf(bytes));
                bytes[i] = static_cast<char>(bytes[i] ^ bit);
            }
        }
        EXPECT_EQ(values.size(), 2 * size + 1);
    }
    // Also in their number of words, and in where texts end.
    std::set<std::uint64_t> values;
    for (int words = 0; words < 100; ++words)
        values.insert(valueOf(std::string(static_cast<std::size_t>(8 * words), '\0')));
    for (const std::size_t cut : {0, 1, 5, 9}) {
        ContentHash hash;
        const std::string_view text = "one text, or two";
        hash.add(text.substr(0, cut));
        hash.add(text.substr(cut));
        values.insert(hash.value());
    }
    // Swapped words and blocks.
    for (const std::size_t distance : {8, 16, 256}) {
        std::string bytes(1024, 'x');
        bytes[0] = 'y';
        values.insert(valueOf(bytes));
        std::swap(bytes[0], bytes[distance]);
        values.insert(valueOf(bytes));
    }
    EXPECT_EQ(values.size(), 100u + 4 + 4);
}

}  // namespace
}  // namespace orbo::Data
