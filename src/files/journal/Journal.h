// The journal of a rewrite: the old bytes and the new ones, kept beside the file until it is
// finished.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "files/File.h"
#include "files/RewriteRange.h"

namespace orbo::Files {

/// A journal that was read: it says where in the file of the journal the bytes of each range are.
/// The bytes themselves stay on the disk.
struct Journal {
    enum class Condition {
        kWhole,
        kEmpty,         ///< has no byte: it could not be removed, or was not begun
        kShort,         ///< ends before it should: it was not finished, or has lost its tail
        kDamaged,       ///< as long as it should be, or of unknown length, but with other bytes
        kSparse,        ///< claims far more than it has on the disk
        kOtherVersion,  ///< has a layout that only another program knows
        kUnreadable,    ///< the system refuses to read it
    };

    struct Range {
        std::uint64_t offset = 0;  // in the file
        std::uint64_t oldSize = 0;
        std::uint64_t newSize = 0;
        std::uint64_t oldAt = 0;  // in the journal
        std::uint64_t newAt = 0;
        std::uint64_t oldChecksum = 0;  // of the old bytes; 0 in layout 1, which has none
    };

    /// The version of the layout; this program knows two.
    std::uint64_t version = 0;
    /// Whether the header is whole, so that all fields below are valid.
    bool hasHeader = false;
    std::string fileName;  // the last part of the path that the file had then
    std::uint64_t oldLength = 0;
    std::uint64_t newLength = 0;
    std::vector<Range> ranges;
    /// A program has begun to put the old bytes back.
    bool isUndone = false;

    /// The path of the journal: in the folder of the file, under a name that the file system
    /// accepts.
    static std::string pathFor(const std::string& filePath);
    /// The path for the `n`-th journal that is set aside.
    static std::string pathSetAside(const std::string& filePath, int n);
    /// The last part of a path.
    static std::string nameOf(const std::string& filePath);

    /// The number of bytes that `write` writes.
    static std::uint64_t sizeFor(const std::string& filePath,
                                 const std::vector<RewriteRange>& ranges);
    /// Writes a journal into a new file; returns false on failure. `ranges` is not empty.
    static bool write(File& journal, const std::string& filePath,
                      const std::vector<RewriteRange>& ranges);
    /// Trusts nothing in the journal. Reads all of it, block by block; the work is in proportion to
    /// what the journal has on the disk.
    Condition read(File& journal);
    /// Appends, and syncs, the mark that says: the old bytes are being put back.
    [[nodiscard]] static bool appendMark(File& journal);
};

}  // namespace orbo::Files
