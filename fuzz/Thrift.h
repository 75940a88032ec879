// What an input may take of time and memory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace orbo::Fuzz {

/// Reading and destroying what an input says, without the laws.
struct Work {
    std::size_t bytes;  ///< that are read
    std::function<void()> run;
};

/// For each byte, beyond what an input of nothing takes.
struct Cost {
    double nanoseconds;  ///< of the thread
    double memory;       ///< bytes that were in use at once
};

// Each target that is measured has these.
Work workOf(const std::uint8_t* data, std::size_t size);
/// Reads `baseAssociations`, with which others are compared.
Work baseWork();

/// An input without metadata, of every target.
constexpr char kNothing = ' ';
/// The text of a stream of a hundred elements. "B" is an int32, three floats and a string.
std::string baseAssociations();

/// Those of the work, or 256 when it has fewer: beginning a node costs more than going on with it.
double chargedBytes(const Work& work);
/// Time is the least of so many runs.
Cost costOf(const Work& work, int runs = 1);

/// Ends the process when the input takes too much. Memory is counted, and the same each time. Time
/// is judged beside the base's, once the input took too long several times.
void demandThrift(const std::uint8_t* data, std::size_t size);

}  // namespace orbo::Fuzz
