// What readers of the raw formats accept without a word, for whoever wants to hear of it.
// SPDX-License-Identifier: Apache-2.0
#include "formats/ReaderRemarks.h"

namespace orbo::Data {

namespace {

thread_local ReaderRemarks::Collector* collector = nullptr;

// The last few are about the stream being read, so this is where the same thing is found.
constexpr std::size_t kLooksBack = 4;

}  // namespace

std::string ReaderRemarks::Remark::message() const {
    if (kind == Kind::kUnreadable) return wordsFor(place) + ": " + what;
    std::string text = what + ": " + first;
    if (count > 1) text += " and " + std::to_string(count - 1) + " more";
    return text;
}

ReaderRemarks::Collector::Collector(Detail detail) : fDetail(detail), fOuter(collector) {
    collector = this;
}

ReaderRemarks::Collector::~Collector() { collector = fOuter; }

bool ReaderRemarks::wanted(Kind kind) {
    return collector && (kind <= Kind::kUnreadable || collector->fDetail == Detail::kAll);
}

void ReaderRemarks::add(Kind kind, const std::string& what, const std::string& where,
                        const TextPlace& place) {
    std::vector<Remark>& remarks = collector->fRemarks;
    std::size_t looks = kLooksBack;
    for (auto remark = remarks.rbegin(); remark != remarks.rend() && looks > 0; ++remark, --looks) {
        if (kind == Kind::kUnreadable) break;  // each has its place
        if (remark->kind != kind || remark->what != what) continue;
        ++remark->count;
        return;
    }
    if (remarks.size() == Collector::kMost) {
        ++collector->fLeftOut;
    } else {
        remarks.push_back({kind, what, where, place, 1});
    }
}

std::size_t ReaderRemarks::count() { return collector ? collector->fRemarks.size() : 0; }

void ReaderRemarks::nameChannel(std::size_t first, const std::string& name) {
    for (; first < count(); ++first) collector->fRemarks[first].place.channel = name;
}

}  // namespace orbo::Data
