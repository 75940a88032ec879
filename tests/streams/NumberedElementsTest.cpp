// Pages of numbered chunks against a map.
// SPDX-License-Identifier: Apache-2.0
#include "streams/NumberedElements.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <iterator>
#include <map>
#include <numeric>
#include <random>
#include <utility>
#include <vector>

namespace orbo::Data {

namespace {

using Numbers = std::vector<unsigned int>;
constexpr std::size_t kStride = 16;
constexpr unsigned int kCount = 70'000;  // more than two groups of full pages

// In order of arrival chunks lie side by side, but for every thousandth.
struct Pair {
    std::vector<char> block = std::vector<char>((kCount + kCount / 1000 + 1) * kStride);
    char* next = block.data();
    NumberedElements elements;
    std::map<unsigned int, char*> model;

    void insert(unsigned int number) {
        next += model.size() % 1000 == 999 ? 2 * kStride : kStride;
        model[number] = next - kStride;
        EXPECT_EQ(elements.put(number, next - kStride, kStride), nullptr);
    }
    void erase(unsigned int number) {
        elements.erase(number, kStride);
        model.erase(number);
    }
    void replace(unsigned int number, char* chunk) {
        EXPECT_EQ(elements.put(number, chunk, kStride), std::exchange(model[number], chunk));
    }
    // Runs of the elements come out as the map's, and contiguous ones as long as they are said to
    // be.
    void check() {
        ASSERT_EQ(elements.size(), model.size());
        auto expected = model.begin();
        std::uint64_t number = 0;
        while (number <= ~0U) {
            const auto run = elements.from(static_cast<unsigned int>(number), kStride);
            if (run.first == run.end) break;
            auto ahead = expected;
            for (std::size_t k = 0; k < run.contiguous; ++k, ++ahead) {
                ASSERT_TRUE(ahead != model.end() && ahead->first == run.first->number + k);
                ASSERT_EQ(ahead->second, run.first->chunk + k * kStride);
            }
            for (const auto* entry = run.first; entry != run.end; ++entry, ++expected) {
                ASSERT_TRUE(expected != model.end() && entry->number == expected->first);
                ASSERT_EQ(entry->chunk, expected->second);
            }
            number = std::uint64_t{std::prev(expected)->first} + 1;
        }
        ASSERT_TRUE(expected == model.end());
    }
    void checkNear(unsigned int number) {
        for (const unsigned int wanted : {number - 1, number, number + 1}) {
            const auto found = model.find(wanted);
            char* const chunk = found == model.end() ? nullptr : found->second;
            ASSERT_EQ(elements.chunkOf(wanted, kStride), chunk) << wanted;
            ASSERT_EQ(elements.has(wanted), found != model.end()) << wanted;
        }
    }
};

TEST(NumberedElementsTest, BehaveAsAMapInAnyOrder) {
    std::mt19937 random(1);
    Numbers inOrder(kCount);
    std::iota(inOrder.begin(), inOrder.end(), 1);
    Numbers shuffled = inOrder;
    std::shuffle(shuffled.begin(), shuffled.end(), random);
    Numbers sparse = inOrder;
    for (unsigned int& number : sparse) number *= 61'000;
    Numbers anywhere(kCount);
    for (unsigned int& number : anywhere) number = static_cast<unsigned int>(random());
    anywhere[7] = ~0U;
    const Numbers descending(sparse.rbegin(), sparse.rend());
    for (const Numbers& numbers : {inOrder, shuffled, sparse, descending, anywhere}) {
        Pair pair;
        for (const unsigned int number : numbers) pair.insert(number);
        pair.check();
        EXPECT_EQ(pair.elements.highest(), pair.model.rbegin()->first);
        // What was found before it is changed or goes must not be found where it was.
        for (unsigned int k = 0; k < kCount && !HasFatalFailure(); k += 1 + k % 7) {
            pair.checkNear(numbers[k]);
            if (k % 5 == 0) pair.replace(numbers[k], k % 10 == 0 ? nullptr : pair.next);
            if (k % 3 == 0) pair.erase(numbers[k]);
            pair.checkNear(numbers[k]);
        }
        pair.check();
        for (const unsigned int number : numbers) pair.erase(number);
        pair.check();
        pair.insert(5);
        pair.checkNear(5);
    }
}

}  // namespace

}  // namespace orbo::Data
