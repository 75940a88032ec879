// Blocks of bytes tell what a loop over the bytes tells.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <array>
#include <random>

#include "core/SixteenBytes.h"

namespace orbo::Data {
namespace {

template <typename Block>
class ByteBlocks : public testing::Test {};

using Blocks = testing::Types<SixteenPlainBytes, SixteenBytes>;
TYPED_TEST_SUITE(ByteBlocks, Blocks);

TYPED_TEST(ByteBlocks, CountLikeALoop) {
    std::mt19937 random(1);
    const std::string odd("\"\\;\x7f\x80\xff\x1f\x20\x00\x0a", 10);
    for (int round = 0; round < 50000; ++round) {
        std::array<char, 64> text{};
        for (char& c : text) c = random() % 12 == 0 ? odd[random() % odd.size()] : 'a';
        const TypeParam block(text.data());
        const auto countUntil = [&](const auto& isWanted) {
            int count = 0;
            while (count < TypeParam::kSize && !isWanted(text.at(count))) ++count;
            return count;
        };
        ASSERT_EQ(block.countBefore('"', '\\'),
                  countUntil([](char c) { return c == '"' || c == '\\'; }));
        ASSERT_EQ(block.countBeforeControlOr('\x7f'), countUntil([](char c) {
                      return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
                  }));
        std::uint64_t marks = 0;
        for (std::size_t i = 0; i < text.size(); ++i) {
            if (text.at(i) == '\xff') marks |= std::uint64_t{1} << i;
        }
        ASSERT_EQ(marksIn64<TypeParam>(text.data(), '\xff'), marks);
    }
}

}  // namespace
}  // namespace orbo::Data
