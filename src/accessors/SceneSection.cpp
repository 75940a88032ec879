// The metadata section of a scene as the file holds it now, and what it gives way to.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/SceneSection.h"

#include "files/BigEndian.h"
#include "files/Checksum.h"

namespace orbo::Data {

void SceneSection::appendKept(std::string& out, SceneRecord::Kind kind,
                              SectionPlan::Fate fate) const {
    for (const Entry& entry : fEntries) {
        if (entry.understood && entry.where.kind == kind && entry.fate == fate) {
            out += bytesOf(entry);
        }
    }
}

std::string_view SceneSection::bytes(std::uint64_t from, std::uint64_t to) const {
    return std::string_view(fTail).substr(static_cast<std::size_t>(from - fTailBegin),
                                          static_cast<std::size_t>(to - from));
}

std::uint64_t SceneSection::fingerprint() const {
    Files::Checksum checksum;
    for (const Entry& entry : fEntries) {
        const std::string_view record = bytesOf(entry);
        checksum.add(Files::bigEndian(record.size(), 8));
        checksum.add(record);
    }
    return checksum.value();
}

}  // namespace orbo::Data
