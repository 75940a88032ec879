// Signals that ask the process to end: it first finishes or undoes the file it works on.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

namespace orbo::Quilmeta {

/// Ends the command after a signal, at a moment when no file is half changed.
class Interrupted : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "ended by a signal"; }
};

namespace Signals {

/// From now on SIGINT, SIGTERM, SIGHUP and SIGPIPE are only noted, unless they are ignored. A
/// second signal ends the process at once, whatever it is doing.
void noteThem();
/// The first signal that came; 0 when none has.
int received();
/// "SIGINT" and the like, for a signal that is noted.
const char* nameOf(int signal);
/// Throws `Interrupted` when a signal has come.
void stopIfReceived();
/// From now on the process survives when the reader of its messages goes away.
void ignoreBrokenPipes();
/// Ends the process by this signal, so that its parent sees why.
[[noreturn]] void endBy(int signal);

}  // namespace Signals

}  // namespace orbo::Quilmeta
