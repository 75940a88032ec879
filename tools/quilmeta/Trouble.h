// What stops a command, and how messages reach the user.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ExitCode.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Ends the work on one file, or the command. Its text says what and where, without the file name.
class Trouble : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// The results could not be delivered: no further file is worth trying.
class OutputTrouble : public Trouble {
  public:
    using Trouble::Trouble;
};

/// Whoever read our output has seen enough, as `head` does: the command ends by SIGPIPE and says
/// nothing, unless it changes files.
class ReaderGone : public OutputTrouble {
  public:
    ReaderGone() : OutputTrouble("the reader is gone") {}
};

/// Each line of `text` to standard error behind "quilmeta: SUBJECT: " (without a subject, behind
/// "quilmeta: "); a line that begins with a blank goes on with the one ahead. What a terminal could
/// take for a command is escaped.
void complain(std::string_view subject, std::string_view text);

/// What the work on one file comes to. Trouble with that file is reported, and is `kFailed`; that
/// of the output and `Interrupted` are thrown on.
Outcome guarded(const std::string& name, const std::function<Outcome()>& work);

/// "No such file or directory" and the like, for an `errno`.
std::string systemMessage(int error);

}  // namespace orbo::Quilmeta
