// Whether a file in the place of a journal may be acted on.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "files/FileAccess.h"

namespace orbo::Files {

/// What is known of a journal, of the file beside it and of their folder.
struct JournalFacts {
    FileStatus journal;
    FileAccess journalAccess;
    FileAccess fileAccess;
    /// Empty when the folder cannot be examined.
    std::optional<FileAccess> folderAccess;
    /// The groups of the journal's owner; empty when the system does not know them.
    std::optional<std::vector<std::uint64_t>> ownerGroups;
};

enum class JournalTrust {
    kActedOn,        ///< whoever could have written it may write the file, too
    kIgnored,        ///< a stranger's file, but an empty one
    kOfStranger,     ///< its owner may not write the file, as far as is known
    kOpenToOthers,   ///< users may write it who may not write the file
    kHasOtherNames,  ///< it has several hard links
};

/// Whether the journal's owner may write the file, as far as is known.
bool isOfWriter(const JournalFacts& facts);
/// Decides by the table of docs/journal.md. All results but the first two are reported.
JournalTrust trustIn(const JournalFacts& facts);
/// Says, for people, what is wrong with a journal that is reported, and what can be done.
const char* reasonOf(JournalTrust trust);

/// Collects the facts about a journal, which is null when it cannot be opened. Empty on failure.
std::optional<JournalFacts> journalFacts(FileSystem& system, const std::string& journalPath,
                                         File* journal, File& file, std::error_code& error);

}  // namespace orbo::Files
