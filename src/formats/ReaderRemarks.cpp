// Remarks of readers of the raw formats about what they accept silently.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ReaderRemarks.h"

#include <utility>

#include "core/Excerpt.h"

namespace orbo::Data {

namespace {

constexpr std::size_t kMost = 1000;

// Searches only the last few remarks, which are about the same stream.
constexpr std::size_t kLooksBack = 4;

}  // namespace

std::string ReaderRemarks::Remark::message() const {
    if (kind == Kind::kUnreadable || kind == Kind::kStructureMissing)
        return wordsFor(place) + ": " + what;
    std::string text = what + ": " + first;
    if (count > 1) text += " and " + std::to_string(count - 1) + " more";
    return text;
}

void ReaderRemarks::add(Kind kind, const std::string& what, const std::string& where,
                        const TextPlace& place) {
    std::size_t looks = kLooksBack;
    for (auto remark = fRemarks.rbegin(); remark != fRemarks.rend() && looks > 0;
         ++remark, --looks) {
        if (kind == Kind::kUnreadable) break;  // each has its place
        if (remark->kind != kind || remark->what != what) continue;
        ++remark->count;
        return;
    }
    append({kind, what, where, place, 1});
}

void ReaderRemarks::addMissingStructure(const std::string& structure, const TextPlace& place) {
    append({Kind::kStructureMissing,
            "there is no structure " + inQuotes(structure),
            {},
            place,
            1,
            structure});
}

void ReaderRemarks::append(Remark remark) {
    if (fRemarks.size() == kMost) {
        ++fLeftOut;
    } else {
        fRemarks.push_back(std::move(remark));
    }
}

void ReaderRemarks::nameChannel(std::size_t first, const std::string& name) {
    for (; first < count(); ++first) fRemarks[first].place.channel = name;
}

}  // namespace orbo::Data
