// Recovers a file that was moved, or renamed, without its journal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "files/LockedFile.h"
#include "files/journal/JournalRecovery.h"

namespace orbo::Files {

struct MovedRecovery {
    using Verdict = JournalRecovery::Verdict;

    /// What the journal of the old name means for the file of the new name.
    Verdict verdict = Verdict::kNothing;
    /// The file needs nothing more.
    bool done = false;
    std::string journalPath;
    /// Notes for people, a line each; or why it was not done.
    std::string message;

    /// No file needs to exist at the old name any more. If the journal also explains a file there,
    /// as after a copy, it stays for that one. A journal that does not fit stays, too. Waits while
    /// others use one of the files.
    static MovedRecovery inspect(const std::string& oldName, const std::string& newName,
                                 const Patience& patience);
    static MovedRecovery run(const std::string& oldName, const std::string& newName,
                             const Patience& patience);
    /// The path of a journal that was left for a name without a file; empty when there is none.
    static std::string journalLeftAt(const std::string& oldName);
};

}  // namespace orbo::Files
