// quilmeta: shows and rewrites the metadata of scene files.
// SPDX-License-Identifier: Apache-2.0
#include "commands/CommandLine.h"
#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Output.h"
#include "process/Plugins.h"
#include "process/Signals.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <string>

namespace {

using namespace orbo::Quilmeta;

/// Opens /dev/null for each standard stream that is closed. Otherwise a scene would be opened in
/// its place and messages written into it. Read-only, so that results nobody can take are an error.
void occupyStandardStreams() {
    int descriptor = 0;
    do {
        descriptor = ::open("/dev/null", O_RDONLY);
    } while (descriptor >= 0 && descriptor <= STDERR_FILENO);
    if (descriptor > STDERR_FILENO) ::close(descriptor);
}

Outcome run(int argc, char** argv) {
    Output output(STDOUT_FILENO, "standard output");
    CommandLine commandLine;
    Outcome outcome = Outcome::kDone;
    try {
        if (Command* command = commandLine.parse(argc, argv, output)) {
            loadPlugins(commandLine.plugins());
            outcome = command->run(output);
        }
    } catch (const UsageError& error) {
        complain("", std::string(error.what()) + "\nsee " + commandLine.helpCommand());
        outcome = Outcome::kUsage;
    }
    output.flush();
    return outcome;
}

Outcome guardedRun(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const ReaderGone&) {
        // The reader has closed the pipe and wants no message.
    } catch (const Interrupted&) {
        // The process ends by the signal, which is message enough.
    } catch (const std::exception& error) {
        complain("", error.what());
    }
    return Outcome::kFailed;
}

}  // namespace

int main(int argc, char** argv) {
    occupyStandardStreams();
    Signals::noteThem();
    // With SIGXFSZ ignored, a write beyond the limit on file sizes fails instead of killing us in
    // the middle, and what was there is put back.
    std::signal(SIGXFSZ, SIG_IGN);
    const int exitCode = exitCodeOf(guardedRun(argc, argv));
    if (const int signal = Signals::received(); signal != 0) Signals::endBy(signal);
    return exitCode;
}
