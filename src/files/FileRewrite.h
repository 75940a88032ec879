// Replaces parts of a file so that a failure leaves the file as it was.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "files/File.h"

namespace orbo::Files {

/// Ranges of a file give way to new bytes. All keep their length but the last, which runs to the
/// end of the file and makes it longer or shorter.
class FileRewrite {
  public:
    enum class Step { kDone, kSeek, kWrite, kTruncate, kSync };

    struct Range {
        std::uint64_t offset;
        std::string_view oldBytes;  // what the file holds there
        /// What it is to hold, one behind the other.
        std::vector<std::string_view> pieces;
    };

    struct Outcome {
        Step failed = Step::kDone;
        /// The range that could not be sought or written, and which of its pieces.
        std::size_t range = 0;
        std::size_t piece = 0;
        /// False when the old bytes could not be put back either: the file is damaged.
        bool restored = true;
    };

    /// There is at least one range.
    FileRewrite(File& file, std::vector<Range> ranges) : fFile(file), fRanges(std::move(ranges)) {}

    /// The file is only made shorter once everything is written. A file that holds the new bytes
    /// already is not touched.
    Outcome run();

  private:
    Outcome tryToRun();
    [[nodiscard]] Outcome write(std::size_t range);
    [[nodiscard]] bool restore();
    [[nodiscard]] bool writeOld();
    [[nodiscard]] bool holdsOld();
    [[nodiscard]] bool holdsOld(const Range& range);

    File& fFile;
    std::vector<Range> fRanges;
    bool fTouched = false;
};

}  // namespace orbo::Files
