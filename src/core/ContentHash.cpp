// A fast hash of much content, for which nobody can prepare collisions.
// SPDX-License-Identifier: Apache-2.0
#include "core/ContentHash.h"

#include <algorithm>

namespace orbo::Data {

const ContentHash::Keys& ContentHash::keys() {
    static const Keys keys = [] {
        Keys made{};
        for (std::size_t i = 0; i < made.size(); ++i) {
            KeyedHash hash;
            hash.add(std::uint64_t{i});
            made[i] = hash.value();
        }
        return made;
    }();
    return keys;
}

// `count` is even, and at most a block.
void ContentHash::fold(KeyedHash& folded, const std::uint64_t* words, std::size_t count) const {
    __extension__ using Wide = unsigned __int128;
    Wide sum = 0;
    for (std::size_t i = 0; i < count; i += 2) {
        sum += Wide{words[i] + fKeys[i]} * (words[i + 1] + fKeys[i + 1]);
    }
    folded.add(static_cast<std::uint64_t>(sum));
    folded.add(static_cast<std::uint64_t>(sum >> 64));
}

void ContentHash::foldAll() {
    for (std::size_t at = 0; at < kRoom; at += kBlock) fold(fFolded, &fWords[at], kBlock);
    fUsed = 0;
}

void ContentHash::addMany(const char* bytes, std::size_t count) {
    for (std::size_t room = kRoom - fUsed; count > room * kWord; room = kRoom) {
        std::memcpy(fWords.data() + fUsed, bytes, room * kWord);
        bytes += room * kWord;
        count -= room * kWord;
        foldAll();
    }
    addBytes(bytes, count);
}

std::uint64_t ContentHash::value() const {
    KeyedHash folded(fFolded);
    std::size_t at = 0;
    for (; fUsed - at >= kBlock; at += kBlock) fold(folded, &fWords[at], kBlock);
    const std::size_t rest = fUsed - at;
    Keys last{};
    std::copy_n(fWords.begin() + static_cast<std::ptrdiff_t>(at), rest, last.begin());
    folded.add(std::uint64_t{rest});
    fold(folded, last.data(), rest + rest % 2);
    return folded.value();
}

}  // namespace orbo::Data
