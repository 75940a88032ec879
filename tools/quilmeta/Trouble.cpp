// What stops a command, and how messages reach the user.
// SPDX-License-Identifier: Apache-2.0
#include "Trouble.h"

#include "SafeText.h"
#include "Signals.h"

#include <data/Index.h>
#include <fmt/format.h>

#include <cstdio>
#include <new>
#include <system_error>

namespace orbo::Quilmeta {

void complain(std::string_view subject, std::string_view text) {
    std::string lines;
    while (!text.empty()) {
        const size_t end = text.find('\n');
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
        if (line.empty()) continue;
        if (lines.empty() || line.front() != ' ') {
            lines += "quilmeta: ";
            if (!subject.empty()) lines += safeLine(subject) + ": ";
        }
        lines += safeLine(line) + '\n';
    }
    if (Signals::received() != 0) Signals::ignoreBrokenPipes();
    std::fwrite(lines.data(), 1, lines.size(), stderr);
}

Outcome guarded(const std::string& name, const std::function<Outcome()>& work) {
    const std::string file = name.empty() ? "\"\"" : name;
    try {
        return work();
    } catch (const OutputTrouble&) {
        throw;
    } catch (const Interrupted&) {
        throw;
    } catch (const std::bad_alloc&) {
        complain(file, "not enough memory");
    } catch (const std::exception& trouble) {
        complain(file, trouble.what());
    } catch (Data::Index::eCreationErrors error) {
        complain(file, fmt::format("an index cannot be made (code {})", static_cast<int>(error)));
    }
    return Outcome::kFailed;
}

std::string systemMessage(int error) { return std::generic_category().message(error); }

}  // namespace orbo::Quilmeta
