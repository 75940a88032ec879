// How far the work on many files is.
// SPDX-License-Identifier: Apache-2.0
#include "process/Progress.h"

#include "process/StatusLine.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace orbo::Quilmeta {

Progress::Progress(const std::vector<std::string>& files) {
    if (files.size() < 2 || !StatusLine::isPossible()) return;
    fSizes.reserve(files.size());
    for (const std::string& file : files) {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(file, error);
        fSizes.push_back(error ? 0 : size);
        fTotal += fSizes.back();
    }
}

void Progress::advance(size_t file) {
    if (fSizes.empty()) return;
    ++fFilesDone;
    fDone += fSizes[file];
    show();
}

void Progress::show() {
    if (fSizes.empty()) return;
    const Clock::time_point now = Clock::now();
    if (now - fStart < std::chrono::seconds(1) || now - fShown < std::chrono::milliseconds(100))
        return;
    fShown = now;
    const double seconds = std::chrono::duration<double>(now - fStart).count();
    const ProgressState state{fFilesDone, fSizes.size(), fDone, fTotal, seconds};
    StatusLine::show(progressLine(state, StatusLine::width()));
}

// What does not fit is left out, the least needed first. One column stays free, because some
// terminals begin a new line when the last one is taken.
std::string progressLine(const ProgressState& state, size_t columns) {
    const double share =
        state.allBytes > 0 ? static_cast<double>(state.bytes) / static_cast<double>(state.allBytes)
                           : 0;
    const std::string files = fmt::format("{}/{} files", state.files, state.allFiles);
    std::vector<std::string> parts = {files};
    if (share > 0) parts.push_back(timeText(state.seconds * (1 - share) / share) + " left");
    parts.push_back(byteText(static_cast<double>(state.bytes) / state.seconds) + "/s");
    parts.push_back(fmt::format("{} of {}", byteText(static_cast<double>(state.bytes)),
                                byteText(static_cast<double>(state.allBytes))));
    std::string line;
    for (const std::string& part : parts)
        if (line.size() + 2 + part.size() < columns) line += (line.empty() ? "" : "  ") + part;
    const size_t room =
        columns > line.size() + 5 ? std::min<size_t>(columns - line.size() - 5, 30) : 0;
    if (room < 8) return line;
    const auto full = static_cast<size_t>(share * static_cast<double>(room));
    return fmt::format("[{:-<{}}]  {}", std::string(full, '#'), room, line);
}

}  // namespace orbo::Quilmeta
