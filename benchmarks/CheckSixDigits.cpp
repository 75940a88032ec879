// Compares the six digits of every float, and of as many doubles as are asked for, with those of
// `std::to_chars`, and every thousandth with those of the C library, which the standard streams
// use: `check-six-digits [DOUBLES]`. Takes a quarter of an hour of one core.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <thread>
#include <vector>

#include "core/SixDigits.h"

namespace {

struct Counts {
    std::uint64_t same = 0;
    std::uint64_t different = 0;
    std::uint64_t left = 0;
};

void check(double value, Counts& counts) {
    char ours[orbo::Data::kSixDigitsRoom];
    const char* end = orbo::Data::writeSixDigits(ours, value);
    if (!end) {
        ++counts.left;
        return;
    }
    char theirs[32];
    const auto size = counts.same % 1000 == 0 ? std::snprintf(theirs, sizeof theirs, "%.6g", value)
                                              : std::to_chars(theirs, theirs + sizeof theirs, value,
                                                              std::chars_format::general, 6)
                                                        .ptr -
                                                    theirs;
    if (end - ours == size && std::memcmp(ours, theirs, static_cast<std::size_t>(size)) == 0) {
        ++counts.same;
    } else if (counts.different++ < 10) {
        std::printf("%a: %.*s, not %.*s\n", value, static_cast<int>(end - ours), ours,
                    static_cast<int>(size), theirs);
    }
}

template <typename T, typename Bits>
T fromBits(Bits bits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void checkFloats(std::uint64_t first, std::uint64_t step, Counts& counts) {
    for (std::uint64_t bits = first; bits <= UINT32_MAX; bits += step) {
        check(static_cast<double>(fromBits<float>(static_cast<std::uint32_t>(bits))), counts);
    }
}

// Half of them of all magnitudes; the others where the short way works, many near its ties.
void checkDoubles(std::uint64_t seed, std::uint64_t count, Counts& counts) {
    std::mt19937_64 random(seed);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t bits = random();
        if (i % 2 == 0) {
            check(fromBits<double>(bits), counts);
            continue;
        }
        const double digits = static_cast<double>(bits % 2'000'000) / 2;
        const double value = digits * std::pow(10, static_cast<int>(bits >> 40 & 31) - 20);
        check(i % 4 == 1 ? value : std::nextafter(value, i % 8 == 3 ? 0 : HUGE_VAL), counts);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::uint64_t doubles = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1'000'000'000;
    const unsigned threads = std::max(1U, std::thread::hardware_concurrency());
    std::vector<Counts> counts(threads);
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < threads; ++i) {
        workers.emplace_back([=, &counts] {
            checkFloats(i, threads, counts[i]);
            checkDoubles(i, doubles / threads, counts[i]);
        });
    }
    Counts all;
    for (unsigned i = 0; i < threads; ++i) {
        workers[i].join();
        all.same += counts[i].same;
        all.different += counts[i].different;
        all.left += counts[i].left;
    }
    std::printf("%llu numbers the same, %llu different, %llu left to the library\n",
                static_cast<unsigned long long>(all.same),
                static_cast<unsigned long long>(all.different),
                static_cast<unsigned long long>(all.left));
    return all.different == 0 ? 0 : 1;
}
