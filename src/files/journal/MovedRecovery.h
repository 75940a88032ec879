// Recovers a file that was moved, or renamed, without its journal.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "files/LockedFile.h"
#include "files/journal/JournalRecovery.h"

namespace orbo::Files {

struct MovedRecovery {
    using Verdict = JournalRecovery::Verdict;

    /// About the journal of the old name and the file of the new one.
    Verdict verdict = Verdict::kNothing;
    /// Nothing is left to be done for the file.
    bool done = false;
    std::string journalPath;
    /// What is to be known, a line each; why it was not done.
    std::string message;

    /// Nothing needs to be at the old name any more. When another file is there that the journal
    /// explains as well, as after a copy, the journal stays for that one. A journal that does not
    /// fit stays, too. Waits for others that have one of the files in use.
    static MovedRecovery inspect(const std::string& oldName, const std::string& newName,
                                 const Patience& patience);
    static MovedRecovery run(const std::string& oldName, const std::string& newName,
                             const Patience& patience);
    /// The path of the journal for a name at which no file is; empty when there is none.
    static std::string journalLeftAt(const std::string& oldName);
};

}  // namespace orbo::Files
