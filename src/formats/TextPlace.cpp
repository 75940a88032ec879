// Names a place in the text of associations.
// SPDX-License-Identifier: Apache-2.0
#include "formats/TextPlace.h"

namespace orbo::Data {

std::string wordsFor(const TextPlace& place) {
    std::string words;
    const auto add = [&](const char* word, const std::optional<std::string>& name,
                         const char* quote) {
        if (name) words += (words.empty() ? "" : ", ") + (word + (quote + *name) + quote);
    };
    add("channel ", place.channel, "'");
    add("stream ", place.stream, "'");
    add("index ", place.index, "");
    add("member ", place.member, "'");
    if (!words.empty()) words[0] = static_cast<char>(words[0] - 'a' + 'A');
    return words;
}

}  // namespace orbo::Data
