// Compares a file with the journal of a rewrite that was cut short.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "files/File.h"
#include "files/journal/Journal.h"

namespace orbo::Files {

/// What the bytes of a file say about a rewrite.
struct JournalMatch {
    /// The rewrite, or its undoing, can have left the file like this. Disks write whole sectors of
    /// 512 bytes. So each sector of a range is old, or new, or new up to the byte where a write
    /// stopped and old from there on. While the old bytes are being put back, a sector may also be
    /// old up to some byte. What lies beyond the old length is no evidence: after a power cut a
    /// file system may show anything there.
    bool isExplained = true;
    /// The file holds all old bytes, or all new ones, and has their length.
    bool isOld = true;
    bool isNew = true;
};

/// Compares a file with a whole journal; empty when one of them cannot be read. Does not read more
/// of the file than the journal describes.
[[nodiscard]] std::optional<JournalMatch> matchJournal(const Journal& journal, File& journalFile,
                                                       File& file);

/// Whether the file certainly is as it was before the rewrite whose journal is too short; empty
/// when one of them cannot be read. Returns false when the journal does not say enough.
[[nodiscard]] std::optional<bool> isPlainlyOld(const Journal& journal, File& journalFile,
                                               File& file);

}  // namespace orbo::Files
