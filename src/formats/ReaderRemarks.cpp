// What readers of the raw formats accept without a word, for whoever wants to hear of it.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ReaderRemarks.h"

namespace orbo::Data {

namespace {

constexpr std::size_t kMost = 1000;

// The last few are about the stream being read, so this is where the same thing is found.
constexpr std::size_t kLooksBack = 4;

}  // namespace

std::string ReaderRemarks::Remark::message() const {
    if (kind == Kind::kUnreadable) return wordsFor(place) + ": " + what;
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
    if (fRemarks.size() == kMost) {
        ++fLeftOut;
    } else {
        fRemarks.push_back({kind, what, where, place, 1});
    }
}

void ReaderRemarks::nameChannel(std::size_t first, const std::string& name) {
    for (; first < count(); ++first) fRemarks[first].place.channel = name;
}

}  // namespace orbo::Data
