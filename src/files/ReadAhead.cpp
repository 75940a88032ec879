// Small reads of a file, served from memory.
// SPDX-License-Identifier: Apache-2.0
#include "files/ReadAhead.h"

#include <algorithm>
#include <cstring>

namespace orbo::Files {

// Outside the window the file decides whether the offset can be reached.
bool ReadAhead::seek(std::uint64_t offset) {
    fPosition = offset;
    return fLoaded.contains({offset, offset}) || noting(fFile.seek(offset));
}

ReadAhead::Range ReadAhead::windowFor(const Range& wanted) const {
    constexpr std::uint64_t kNear = 4096;  // disks read that much ahead anyway
    const auto isNear = [](std::uint64_t from, std::uint64_t to) {
        return from <= to && to - from <= kNear;
    };
    if (wanted.size() >= kWindowSize || fLast.end == 0) return {};
    if (isNear(fLast.end, wanted.begin)) return {wanted.begin, wanted.begin + kWindowSize};
    if (!isNear(wanted.end, fLast.begin)) return {};
    const std::uint64_t begin = std::max<std::uint64_t>(wanted.end, kWindowSize) - kWindowSize;
    return {begin, wanted.end};
}

std::optional<std::size_t> ReadAhead::readFrom(std::uint64_t begin, char* to, std::size_t count) {
    if (!fFile.seek(begin)) return noting(std::optional<std::size_t>());
    return noting(fFile.read(to, count));
}

bool ReadAhead::load(const Range& window) {
    fLoaded = {};
    const auto got = readFrom(window.begin, fWindow.get(), window.size());
    if (got) fLoaded = {window.begin, window.begin + *got};
    return got.has_value();
}

std::optional<std::size_t> ReadAhead::read(char* to, std::size_t count) {
    const Range wanted{fPosition, fPosition + count};
    const Range window = fLoaded.contains(wanted) ? fLoaded : windowFor(wanted);
    fLast = wanted;
    std::optional<std::size_t> got;
    if (window.size() == 0 || !(fLoaded.contains(wanted) || load(window))) {
        // This also serves a read whose window could not be loaded because of other bytes in it.
        got = readFrom(fPosition, to, count);
    } else {
        // The file may end within the wanted bytes.
        const std::uint64_t end = std::min(wanted.end, fLoaded.end);
        got = static_cast<std::size_t>(std::max(end, fPosition) - fPosition);
        std::memcpy(to, fWindow.get() + (fPosition - fLoaded.begin), *got);
    }
    if (got) fPosition += *got;
    return got;
}

}  // namespace orbo::Files
