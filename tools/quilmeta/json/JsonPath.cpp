// A place in a JSON document.
// SPDX-License-Identifier: Apache-2.0
#include "json/JsonPath.h"

#include "json/JsonText.h"

namespace orbo::Quilmeta {

namespace {

bool isWord(std::string_view key) {
    constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
    return !key.empty() && key.find_first_not_of(kLetters) == key.npos &&
           (key[0] < '0' || key[0] > '9');
}

}  // namespace

std::string JsonPath::text() const {
    std::string text = "$";
    for (size_t i = 0; i < fDepth; ++i) {
        const Step& step = fSteps[i];
        if (!step.isItem && isWord(step.key)) {
            text.append(".").append(step.key);
            continue;
        }
        text += '[';
        if (step.isItem)
            appendNumber(text, step.item);
        else
            appendJson(text, std::string_view(step.key));
        text += ']';
    }
    return text;
}

}  // namespace orbo::Quilmeta
