// What stops a command, and how messages reach the user.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

enum ExitCode { kDone = 0, kFinding = 1, kTrouble = 2 };

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

/// Whoever read our output has seen enough, as `head` does: the command ends, and says nothing.
class ReaderGone : public OutputTrouble {
  public:
    ReaderGone() : OutputTrouble("the reader is gone") {}
};

/// Each line of `text` to standard error behind "quilmeta: SUBJECT: " (without a subject, behind
/// "quilmeta: "); a line that begins with a blank goes on with the one ahead. What a terminal could
/// take for a command is escaped.
void complain(std::string_view subject, std::string_view text);

/// Runs the work on one file. Trouble with that file is reported, and makes the result `kTrouble`.
int guarded(const std::string& name, const std::function<void()>& work);

/// "No such file or directory" and the like, for an `errno`.
std::string systemMessage(int error);

}  // namespace orbo::Quilmeta
