// Signals that ask the process to end: it first finishes or undoes the file it works on.
// SPDX-License-Identifier: Apache-2.0
#include "process/Signals.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>

namespace orbo::Quilmeta::Signals {

namespace {

struct Noted {
    int number;
    const char* name;
};
constexpr Noted kNoted[] = {
    {SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}, {SIGPIPE, "SIGPIPE"}};

// Any thread asks; a handler may only touch an atomic that needs no lock.
std::atomic<int> gReceived{0};
static_assert(std::atomic<int>::is_always_lock_free, "the handler must not wait");

void setAction(int signal, void (*action)(int)) {
    struct sigaction settings {};
    settings.sa_handler = action;
    // No other signal interrupts the handler. Without SA_RESTART, a signal ends calls that wait.
    for (const Noted& noted : kNoted) ::sigaddset(&settings.sa_mask, noted.number);
    ::sigaction(signal, &settings, nullptr);
}

/// True under `nohup` and the like; such a signal stays ignored.
bool isIgnored(int signal) {
    struct sigaction settings {};
    return ::sigaction(signal, nullptr, &settings) == 0 && settings.sa_handler == SIG_IGN;
}

/// Runs between any two instructions, so it may only call what is safe in a signal handler. It
/// keeps `errno` for the code that it interrupts.
extern "C" void noteSignal(int signal) {
    const int error = errno;
    gReceived = signal;
    // The user means it when a second signal comes: that one ends the process.
    for (const Noted& noted : kNoted)
        if (!isIgnored(noted.number)) setAction(noted.number, SIG_DFL);
    errno = error;
}

}  // namespace

void noteThem() {
    for (const Noted& noted : kNoted)
        if (!isIgnored(noted.number)) setAction(noted.number, noteSignal);
}

int received() { return gReceived; }

const char* nameOf(int signal) {
    for (const Noted& noted : kNoted)
        if (noted.number == signal) return noted.name;
    return "a signal";
}

void stopIfReceived() {
    if (gReceived != 0) throw Interrupted();
}

void ignoreBrokenPipes() { setAction(SIGPIPE, SIG_IGN); }

void endBy(int signal) {
    setAction(signal, SIG_DFL);
    // The signal may be blocked, which would let `raise` return.
    sigset_t wanted;
    ::sigemptyset(&wanted);
    ::sigaddset(&wanted, signal);
    ::sigprocmask(SIG_UNBLOCK, &wanted, nullptr);
    ::raise(signal);
    std::abort();
}

}  // namespace orbo::Quilmeta::Signals
