// The keyed hash.
// SPDX-License-Identifier: Apache-2.0
#include "core/KeyedHash.h"

#include <gtest/gtest.h>

#include <string>

namespace orbo::Data {
namespace {

// Values that other implementations of SipHash-1-3 give for these keys.
TEST(KeyedHash, IsSipHash) {
    const KeyedHash::Key none;
    EXPECT_EQ(KeyedHash::of("", {0x0706050403020100, 0x0f0e0d0c0b0a0908}), 0xabac0158050fc4dcu);
    EXPECT_EQ(KeyedHash::of("a", none), 0x407448d2b89b1813u);
    EXPECT_EQ(KeyedHash::of("abcdefg", none), 0x6db12aae9070f506u);
    EXPECT_EQ(KeyedHash::of("abcdefgh", none), 0x3f7b849c0b8e35eau);
    EXPECT_EQ(KeyedHash::of("bind pose of the lid", none), 0x0b7134f936d265e3u);
}

TEST(KeyedHash, HasASecretKey) {
    const std::string name = "pose";
    EXPECT_EQ(KeyedHash::of(name), KeyedHash::of("pose"));
    EXPECT_NE(KeyedHash::of(name), KeyedHash::of(name, {}));
}

TEST(KeyedHash, TellsPartsApart) {
    const auto valueOf = [](auto... parts) {
        KeyedHash hash;
        (hash.add(parts), ...);
        return hash.value();
    };
    EXPECT_NE(valueOf(std::uint64_t{0}), valueOf(std::uint64_t{0}, std::uint64_t{0}));
}

}  // namespace
}  // namespace orbo::Data
