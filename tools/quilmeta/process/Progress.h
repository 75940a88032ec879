// How far the work on many files is.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Shows a bar on the terminal behind standard error, once the work has taken a second: files,
/// bytes, rate and time left. Needs more than one file, and is used by one thread.
class Progress {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Progress(const std::vector<std::string>& files);
    /// Whether there is a terminal to show it on, and enough to show.
    [[nodiscard]] bool isWanted() const { return !fSizes.empty(); }
    /// This file is done; the bar is shown anew when it is time.
    void advance(size_t file);
    /// Shows the bar anew when it is time.
    void show();

  private:
    std::vector<std::uint64_t> fSizes;  // in bytes; empty when nothing is ever shown
    std::uint64_t fTotal = 0;
    std::uint64_t fDone = 0;
    size_t fFilesDone = 0;
    Clock::time_point fStart = Clock::now();
    Clock::time_point fShown = fStart;
};

struct ProgressState {
    size_t files, allFiles;
    std::uint64_t bytes, allBytes;
    double seconds;  ///< since the beginning
};

/// The bar for a terminal of this many columns, from 40 on; shorter with fewer.
std::string progressLine(const ProgressState& state, size_t columns);

}  // namespace orbo::Quilmeta
