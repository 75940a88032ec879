// Works through the files of a command line until the end, a signal or a lost output.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Outcome.h"

#include <functional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

enum class Purpose { kReading, kWriting };

/// Calls `work` for each file in order and returns the worst outcome. A failure with one file is
/// reported and the next file follows. After a signal, or when the output cannot be delivered, no
/// further file is started, and standard error lists which files are done. A command that writes
/// files prints about a file only after writing it; `Purpose` says which kind of command this is.
Outcome forEachFile(const std::vector<std::string>& files, Purpose purpose,
                    const std::function<Outcome(const std::string&)>& work);

/// Runs the work on one file and returns its outcome. Reports an exception as a message about
/// `file` and returns `kFailed`, but throws `OutputError` and `Interrupted` on.
Outcome guarded(const std::string& file, const std::function<Outcome()>& work);

}  // namespace orbo::Quilmeta
