// Signals that ask for the end: the file in hand is finished or undone first.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <exception>

namespace orbo::Quilmeta {

/// Ends the command behind a signal. Nothing is in hand then.
class Interrupted : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "ended by a signal"; }
};

namespace Signals {

/// SIGINT, SIGTERM, SIGHUP and SIGPIPE are only noted from here on, unless they are ignored. A
/// second one ends the process at once, whatever it is doing.
void noteThem();
/// The first one that came; 0 when none has.
int received();
/// "SIGINT" and the like, of one that is noted.
const char* nameOf(int signal);
/// Throws `Interrupted` when one has come.
void stopIfReceived();
/// A reader of our messages that goes away no longer ends the process.
void ignoreBrokenPipes();
/// Ends the process by this signal, so that its parent sees why.
[[noreturn]] void endBy(int signal);

}  // namespace Signals

}  // namespace orbo::Quilmeta
