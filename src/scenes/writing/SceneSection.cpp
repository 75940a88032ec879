// The metadata section of a scene as the file holds it now, and what it gives way to.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/SceneSection.h"

#include <algorithm>

#include "files/BigEndian.h"

namespace orbo::Data {

void SceneSection::appendKept(std::string& out, SceneRecord::Kind kind,
                              SectionPlan::Fate fate) const {
    for (const Entry& entry : fEntries) {
        if (entry.understood && entry.where.kind == kind && entry.fate == fate) {
            out += unchanged(entry);
        }
    }
}

std::string_view SceneSection::bytes(std::uint64_t from, std::uint64_t to) const {
    return std::string_view(fTail).substr(static_cast<std::size_t>(from - fTailBegin),
                                          static_cast<std::size_t>(to - from));
}

bool SceneSection::loadFrom(std::uint64_t begin) {
    fTailBegin = begin;
    fTail.resize(static_cast<std::size_t>(fSize - begin));
    return Files::readExactly(fFile, fTail.data(), fTail.size());
}

bool SceneSection::addTo(Files::Checksum& checksum, const SceneRecordRange& range) const {
    constexpr std::uint64_t kPiece = 64 * 1024;
    checksum.add(Files::bigEndian(range.end - range.begin, 8));
    if (!fTail.empty()) {
        checksum.add(bytes(range.begin, range.end));
        return true;
    }
    std::string piece;
    for (std::uint64_t at = range.begin; at < range.end; at += piece.size()) {
        piece.resize(static_cast<std::size_t>(std::min(range.end - at, kPiece)));
        if (!Files::readExactlyAt(fFile, at, piece.data(), piece.size())) return false;
        checksum.add(piece);
    }
    return true;
}

std::optional<std::uint64_t> SceneSection::fingerprint(std::optional<std::size_t> count) const {
    Files::Checksum checksum;
    const std::size_t size = fEntries.size();
    for (std::size_t i = size - std::min(count.value_or(size), size); i < size; ++i) {
        if (!addTo(checksum, fEntries[i].where)) return std::nullopt;
    }
    return checksum.value();
}

}  // namespace orbo::Data
