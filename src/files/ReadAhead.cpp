// Small reads of a file, served from memory.
// SPDX-License-Identifier: Apache-2.0
#include "files/ReadAhead.h"

#include <algorithm>
#include <cstring>

namespace orbo::Files {

// Outside of the window the file itself says whether it can.
bool ReadAhead::seek(std::uint64_t offset) {
    fPosition = offset;
    return inWindow(offset, 0) || noting(fFile.seek(offset));
}

bool ReadAhead::load(std::size_t count) {
    std::uint64_t begin = fPosition;
    const bool isBackward = fSize > 0 && fPosition < fBegin && fBegin - fPosition <= kWindowSize;
    if (isBackward) begin = std::max<std::uint64_t>(begin + count, kWindowSize) - kWindowSize;
    fSize = 0;
    if (!fFile.seek(begin)) return noting(false);
    const auto got = noting(fFile.read(fWindow.get(), kWindowSize));
    if (!got) return false;
    fBegin = begin;
    fSize = *got;
    return true;
}

std::optional<std::size_t> ReadAhead::read(char* to, std::size_t count) {
    if (count >= kWindowSize) {
        if (!fFile.seek(fPosition)) return noting(std::optional<std::size_t>());
        const auto got = noting(fFile.read(to, count));
        if (got) fPosition += *got;
        return got;
    }
    if (!inWindow(fPosition, count) && !load(count)) return std::nullopt;
    const auto skipped = static_cast<std::size_t>(fPosition - fBegin);
    const std::size_t got = std::min(count, fSize - std::min(fSize, skipped));
    std::memcpy(to, fWindow.get() + skipped, got);
    fPosition += got;
    return got;
}

}  // namespace orbo::Files
