// Names a place in the text of associations.
// SPDX-License-Identifier: Apache-2.0
#include "formats/TextPlace.h"

#include "core/Excerpt.h"

namespace orbo::Data {

std::string wordsFor(const TextPlace& place) {
    std::string words;
    const auto add = [&](const char* word, const std::optional<std::string>& name,
                         std::string (*shown)(std::string_view, std::size_t)) {
        if (name) words += (words.empty() ? "" : ", ") + (word + shown(*name, kMostShown));
    };
    add("channel ", place.channel, inQuotes);
    add("stream ", place.stream, inQuotes);
    add("index ", place.index, excerptOf);
    add("member ", place.member, inQuotes);
    if (!words.empty()) words[0] = static_cast<char>(words[0] - 'a' + 'A');
    return words;
}

}  // namespace orbo::Data
