// Compares the six digits of every float, and of as many doubles as are asked for, with those of
// the C library, which the standard streams use: `check-six-digits [DOUBLES]`. Takes an hour of one
// core. SPDX-License-Identifier: Apache-2.0
#include <atomic>
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

std::atomic<std::uint64_t> written{0};
std::atomic<std::uint64_t> left{0};
std::atomic<std::uint64_t> different{0};

void check(double value) {
    char ours[orbo::Data::kSixDigitsRoom];
    const char* end = orbo::Data::writeSixDigits(ours, value);
    if (!end) {
        left.fetch_add(1, std::memory_order_relaxed);
        return;
    }
    written.fetch_add(1, std::memory_order_relaxed);
    char theirs[32];
    const int size = std::snprintf(theirs, sizeof theirs, "%.6g", value);
    if (end - ours == size && std::memcmp(ours, theirs, static_cast<std::size_t>(size)) == 0)
        return;
    if (different.fetch_add(1) < 10) {
        std::printf("%a: %.*s, not %s\n", value, static_cast<int>(end - ours), ours, theirs);
    }
}

template <typename T, typename Bits>
T fromBits(Bits bits) {
    T value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

void checkFloats(std::uint64_t first, std::uint64_t step) {
    for (std::uint64_t bits = first; bits <= UINT32_MAX; bits += step) {
        check(static_cast<double>(fromBits<float>(static_cast<std::uint32_t>(bits))));
    }
}

// Half of them of all magnitudes; the others where the short way works, many near its ties.
void checkDoubles(std::uint64_t seed, std::uint64_t count) {
    std::mt19937_64 random(seed);
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t bits = random();
        if (i % 2 == 0) {
            check(fromBits<double>(bits));
            continue;
        }
        const double digits = static_cast<double>(bits % 2'000'000) / 2;
        const double value = digits * std::pow(10, static_cast<int>(bits >> 40 & 31) - 20);
        check(i % 4 == 1 ? value : std::nextafter(value, i % 8 == 3 ? 0 : HUGE_VAL));
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::uint64_t doubles = argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1'000'000'000;
    const unsigned threads = std::max(1U, std::thread::hardware_concurrency());
    std::vector<std::thread> workers;
    for (unsigned i = 0; i < threads; ++i) {
        workers.emplace_back([=] {
            checkFloats(i, threads);
            checkDoubles(i, doubles / threads);
        });
    }
    for (std::thread& worker : workers) worker.join();
    std::printf("%llu numbers the same, %llu different, %llu left to the library\n",
                static_cast<unsigned long long>(written - different),
                static_cast<unsigned long long>(different.load()),
                static_cast<unsigned long long>(left.load()));
    return different == 0 ? 0 : 1;
}
