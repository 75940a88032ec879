// The keyed hash of names.
// SPDX-License-Identifier: Apache-2.0
#include "core/NameHash.h"

#include <gtest/gtest.h>

#include <string>

namespace orbo::Data {
namespace {

// Values that other implementations of SipHash-1-3 give for these keys.
TEST(NameHash, IsSipHash) {
    const NameHash::Key none;
    EXPECT_EQ(NameHash::of("", {0x0706050403020100, 0x0f0e0d0c0b0a0908}), 0xabac0158050fc4dcu);
    EXPECT_EQ(NameHash::of("a", none), 0x407448d2b89b1813u);
    EXPECT_EQ(NameHash::of("abcdefg", none), 0x6db12aae9070f506u);
    EXPECT_EQ(NameHash::of("abcdefgh", none), 0x3f7b849c0b8e35eau);
    EXPECT_EQ(NameHash::of("bind pose of the lid", none), 0x0b7134f936d265e3u);
}

TEST(NameHash, HasASecretKey) {
    const std::string name = "pose";
    EXPECT_EQ(NameHash::of(name), NameHash::of("pose"));
    EXPECT_NE(NameHash::of(name), NameHash::of(name, {}));
}

}  // namespace
}  // namespace orbo::Data
