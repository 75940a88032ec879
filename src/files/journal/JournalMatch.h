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
    /// 512 bytes, so each sector of a range is old or new, or new up to some byte and old from
    /// there on, where a write has stopped. Once the old bytes are being put back a sector may also
    /// be old up to some byte. What lies beyond the old length is no evidence: a file system may
    /// show anything there after a power cut.
    bool isExplained = true;
    /// It holds all old bytes, or all new ones, and has their length.
    bool isOld = true;
    bool isNew = true;
};

/// Compares a file with a whole journal; empty when one of them cannot be read. Reads no more of
/// the file than of the journal.
[[nodiscard]] std::optional<JournalMatch> matchJournal(const Journal& journal, File& journalFile,
                                                       File& file);

/// Whether a file plainly is as it was before the rewrite of a journal that is too short; empty
/// when one of them cannot be read. False when the journal says too little.
[[nodiscard]] std::optional<bool> isPlainlyOld(const Journal& journal, File& journalFile,
                                               File& file);

}  // namespace orbo::Files
