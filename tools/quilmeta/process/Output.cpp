// Where results go: bytes to a file descriptor, every failure noticed.
// SPDX-License-Identifier: Apache-2.0
#include "process/Output.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "process/StatusLine.h"
#include "values/SafeText.h"

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace orbo::Quilmeta {

namespace {
constexpr size_t kPiece = 1 << 16;
}  // namespace

Output::Output(int descriptor, std::string name)
    : fDescriptor(descriptor), fName(std::move(name)) {}

void Output::write(std::string_view bytes) {
    fPending += bytes;
    deliverMuch();
}

void Output::deliverMuch() {
    fAnything = fAnything || !fPending.empty();
    if (fPending.size() < kPiece) return;
    if (fStops) Signals::stopIfReceived();
    flush();
}

void Output::beginSection() {
    if (fAnything) write("\n");
}

void Output::flush() {
    if (fPending.empty()) return;
    deliver(fPending);
    fPending.clear();
}

bool Output::isTerminal() const { return ::isatty(fDescriptor) == 1; }

void Output::deliver(std::string_view bytes) {
    // After Ctrl-C our reader may be gone, too. We still report what was done, so a broken pipe
    // must not end us first.
    if (Signals::received() != 0) Signals::ignoreBrokenPipes();
    if (isTerminal()) StatusLine::clear();
    while (!bytes.empty()) {
        const ssize_t written = ::write(fDescriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) {
            if (fStops) Signals::stopIfReceived();
            continue;
        }
        if (written < 0 && errno == EPIPE) throw ReaderGone();
        if (written < 0) throw OutputError(fName + ": " + systemMessage(errno));
        bytes.remove_prefix(static_cast<size_t>(written));
    }
}

void EscapingOutput::deliver(std::string_view bytes) {
    fLine += bytes;
    size_t begin = 0;
    for (size_t end; (end = fLine.find('\n', begin)) != fLine.npos; begin = end + 1)
        fTo.write(safeLine(std::string_view(fLine).substr(begin, end - begin)) + '\n');
    fLine.erase(0, begin);
}

void EscapingOutput::finish() {
    flush();
    fTo.write(safeLine(fLine));
    fLine.clear();
}

}  // namespace orbo::Quilmeta
