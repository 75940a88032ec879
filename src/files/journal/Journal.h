// What a rewrite leaves beside a file until it is finished: the old bytes and the new ones.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/File.h"
#include "files/RewriteRange.h"

namespace orbo::Files {

/// A journal as it was found: where in it the bytes of each range are. The bytes themselves stay on
/// the disk.
struct Journal {
    enum class Condition {
        kWhole,
        kEmpty,         ///< has no byte: a journal that could not be removed, or was not begun
        kShort,         ///< ends before it should: it was not finished, or has lost its tail
        kDamaged,       ///< as long as it should be, or of unknown length, but with other bytes
        kSparse,        ///< claims far more than it has on the disk
        kOtherVersion,  ///< has a layout that only another program knows
        kUnreadable,    ///< the system says no
    };

    struct Range {
        std::uint64_t offset = 0;  // in the file
        std::uint64_t oldSize = 0;
        std::uint64_t newSize = 0;
        std::uint64_t oldAt = 0;  // in the journal
        std::uint64_t newAt = 0;
        std::uint64_t oldChecksum = 0;  // of the old bytes; layout 1 has none
    };

    /// The layout, of which this program knows two.
    std::uint64_t version = 0;
    /// Whether the header is whole, and all below is known.
    bool hasHeader = false;
    std::string fileName;  // the last part of the path that the file had then
    std::uint64_t oldLength = 0;
    std::uint64_t newLength = 0;
    std::vector<Range> ranges;
    /// Somebody has begun to put the old bytes back.
    bool isUndone = false;

    /// In the folder of the file, by a name that the file system takes.
    static std::string pathFor(const std::string& filePath);
    /// Where the `n`-th journal goes that is no longer one.
    static std::string pathSetAside(const std::string& filePath, int n);
    /// The last part of a path.
    static std::string nameOf(const std::string& filePath);

    /// In bytes, of what `write` writes.
    static std::uint64_t sizeFor(const std::string& filePath,
                                 const std::vector<RewriteRange>& ranges);
    /// Into a new file; false on failure. There is at least one range.
    static bool write(File& journal, const std::string& filePath,
                      const std::vector<RewriteRange>& ranges);
    /// Takes nothing in it for granted. Reads it all, a block at a time, which is in proportion to
    /// what the journal has on the disk.
    Condition read(File& journal);
    /// Marks a whole journal, on the disk, as one whose old bytes are being put back.
    [[nodiscard]] static bool appendMark(File& journal);
};

}  // namespace orbo::Files
