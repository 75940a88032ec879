// Messages to the user, on standard error.
// SPDX-License-Identifier: Apache-2.0
#include "process/Messages.h"

#include "process/Signals.h"
#include "process/StatusLine.h"
#include "values/SafeText.h"

#include <cstdio>
#include <system_error>

namespace orbo::Quilmeta {

namespace {
thread_local std::string* tCapture = nullptr;
Verbosity gVerbosity = Verbosity::kUsual;
}  // namespace

void complain(std::string_view subject, std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        if (line.empty()) continue;
        if (lines.empty() || line.front() != ' ') {
            lines += "quilmeta: ";
            if (!subject.empty()) lines += safeLine(subject) + ": ";
        }
        lines += safeLine(line) + '\n';
    }
    if (tCapture)
        *tCapture += lines;
    else
        printMessages(lines);
}

std::vector<std::string> messagesIn(std::string_view text) {
    std::vector<std::string> messages;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string line = safeLine(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        if (line.empty()) continue;
        if (messages.empty() || line.front() != ' ')
            messages.push_back(line);
        else
            messages.back() += '\n' + line;
    }
    return messages;
}

void remark(std::string_view text) {
    if (gVerbosity != Verbosity::kQuiet) complain("", text);
}

void setVerbosity(Verbosity verbosity) { gVerbosity = verbosity; }

Verbosity verbosity() { return gVerbosity; }

MessageCapture::MessageCapture(std::string& text) : fBefore(tCapture) { tCapture = &text; }

MessageCapture::~MessageCapture() { tCapture = fBefore; }

// One call for all lines, so that those of other processes do not come between them.
void printMessages(std::string_view captured) {
    if (captured.empty()) return;
    if (Signals::received() != 0) Signals::ignoreBrokenPipes();
    StatusLine::clear();
    std::fwrite(captured.data(), 1, captured.size(), stderr);
}

std::string subjectOf(const std::string& file) { return file.empty() ? "\"\"" : file; }

std::string systemMessage(int error) { return std::generic_category().message(error); }

}  // namespace orbo::Quilmeta
