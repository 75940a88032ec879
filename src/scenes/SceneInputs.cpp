// Scene inputs over files and over changes of them, and files over inputs.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/SceneInputs.h"

#include <algorithm>

namespace orbo::Data {

SceneInput::~SceneInput() = default;

std::optional<std::string> SceneInput::bytes(std::uint64_t offset, std::uint64_t count) {
    const auto all = size();
    if (!all || offset > *all || count > *all - offset || !seek(offset)) return std::nullopt;
    std::string bytes(static_cast<std::size_t>(count), '\0');
    const auto got = read(bytes.data(), bytes.size());
    if (!got || *got != bytes.size()) return std::nullopt;
    return bytes;
}

std::optional<Files::FileStatus> FileOfInput::status() {
    const auto size = fInput.size();
    if (!size) return std::nullopt;
    Files::FileStatus status;
    status.length = *size;
    return status;
}

bool TailInput::seek(std::uint64_t offset) {
    fPosition = offset;
    const bool isInTail = !fTail.empty() && offset >= fBegin;
    if (isInTail && offset - fBegin <= fTail.size()) return true;
    return fInput.seek(offset);
}

std::optional<std::size_t> TailInput::read(char* to, std::size_t count) {
    std::size_t total = 0;
    if (fPosition < fBegin || fTail.empty()) {
        const std::uint64_t most = fTail.empty() ? count : fBegin - fPosition;
        const auto wanted = static_cast<std::size_t>(std::min<std::uint64_t>(count, most));
        const auto got = fInput.read(to, wanted);
        if (!got) return std::nullopt;
        total = *got;
        fPosition += total;
        if (total < wanted || total == count) return total;
    }
    const auto inside = static_cast<std::size_t>(fPosition - fBegin);
    const std::size_t copied =
        fTail.copy(to + total, count - total, std::min(inside, fTail.size()));
    fPosition += copied;
    return total + copied;
}

ChangedInput::ChangedInput(SceneInput& input, std::uint64_t size,
                           const std::vector<SceneChange>& changes)
    : fInput(input) {
    std::uint64_t at = 0;
    for (const SceneChange& change : changes) {
        addUnchanged(at, change.offset);
        for (const SceneChange::Piece& piece : change.pieces) {
            addNew(piece.bytes);
            addNew(piece.kept);
        }
        at = change.offset + change.oldBytes.size();
    }
    addUnchanged(at, size);
}

void ChangedInput::addUnchanged(std::uint64_t from, std::uint64_t to) {
    if (from >= to) return;
    fStretches.push_back({fSize, to - from, std::nullopt, from});
    fSize += to - from;
}

void ChangedInput::addNew(std::string_view bytes) {
    if (bytes.empty()) return;
    fStretches.push_back({fSize, bytes.size(), bytes, 0});
    fSize += bytes.size();
}

bool ChangedInput::seek(std::uint64_t offset) {
    if (offset > fSize) return false;
    fPosition = offset;
    return true;
}

std::optional<std::size_t> ChangedInput::read(char* to, std::size_t count) {
    std::size_t total = 0;
    auto stretch = std::upper_bound(
        fStretches.begin(), fStretches.end(), fPosition,
        [](std::uint64_t position, const Stretch& each) { return position < each.begin; });
    if (stretch != fStretches.begin()) --stretch;
    for (; total < count && stretch != fStretches.end(); ++stretch) {
        const std::uint64_t inside = fPosition - stretch->begin;
        const auto wanted = static_cast<std::size_t>(
            std::min<std::uint64_t>(count - total, stretch->size - inside));
        if (stretch->bytes) {
            stretch->bytes->copy(to + total, wanted, static_cast<std::size_t>(inside));
        } else {
            if (!fInput.seek(stretch->inputOffset + inside)) return std::nullopt;
            const auto got = fInput.read(to + total, wanted);
            if (!got || *got != wanted) return std::nullopt;
        }
        total += wanted;
        fPosition += wanted;
    }
    return total;
}

}  // namespace orbo::Data
