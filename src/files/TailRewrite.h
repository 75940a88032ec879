// Replaces the end of a file so that a failure leaves the file as it was.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "files/File.h"

namespace orbo::Files {

/// Everything from an offset to the end of the file gives way to new bytes.
class TailRewrite {
  public:
    enum class Step { kDone, kSeek, kWrite, kTruncate, kSync };

    struct Outcome {
        Step failed = Step::kDone;
        /// Which of the pieces could not be written, for `kWrite`.
        std::size_t piece = 0;
        /// False when the old bytes could not be put back either: the file is damaged.
        bool restored = true;
    };

    /// `oldTail` is what the file holds from the offset to its end.
    TailRewrite(File& file, std::uint64_t offset, std::string_view oldTail)
        : fFile(file), fOffset(offset), fOldTail(oldTail) {}

    /// The pieces lie one behind the other from the offset on; the file ends behind the last. The
    /// file is only made shorter once everything is written. Pieces that are what the file holds
    /// already change nothing.
    Outcome replaceBy(const std::vector<std::string_view>& pieces);

  private:
    [[nodiscard]] bool isOldTail(const std::vector<std::string_view>& pieces) const;
    Outcome tryToReplaceBy(const std::vector<std::string_view>& pieces);
    [[nodiscard]] bool restore();

    File& fFile;
    std::uint64_t fOffset;
    std::string_view fOldTail;
};

}  // namespace orbo::Files
