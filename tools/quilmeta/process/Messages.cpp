// Messages to the user, on standard error.
// SPDX-License-Identifier: Apache-2.0
#include "process/Messages.h"

#include "process/Signals.h"
#include "values/SafeText.h"

#include <cstdio>
#include <system_error>

namespace orbo::Quilmeta {

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
    if (Signals::received() != 0) Signals::ignoreBrokenPipes();
    // One call for all lines, so that those of other processes do not come between them.
    std::fwrite(lines.data(), 1, lines.size(), stderr);
}

std::string subjectOf(const std::string& file) { return file.empty() ? "\"\"" : file; }

std::string systemMessage(int error) { return std::generic_category().message(error); }

}  // namespace orbo::Quilmeta
