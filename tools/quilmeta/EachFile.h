// Works through the files of a command line, as far as signals let it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <functional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

enum class Purpose { kReading, kWriting };

/// Gives each file to `work`, in order; trouble with one is reported and leaves the others. The
/// result is the worst outcome. Ends behind the file in hand when a signal came, and when the
/// output cannot be delivered; standard error then says which files are done. A command that
/// writes files produces output about one only when that file is written.
Outcome forEachFile(const std::vector<std::string>& files, Purpose purpose,
                    const std::function<Outcome(const std::string&)>& work);

}  // namespace orbo::Quilmeta
