// What was found in a scene file, in words.
// SPDX-License-Identifier: Apache-2.0
#include "scene/FindingText.h"

#include "values/SafeText.h"

#include <fmt/format.h>

namespace orbo::Quilmeta {

std::string placeOf(const Data::Finding& finding) {
    if (finding.line) return fmt::format("line {}", *finding.line);
    if (!finding.offset) return {};
    if (finding.tag.empty()) return fmt::format("byte {}", *finding.offset);
    return fmt::format("chunk {} at byte {}", finding.tag, *finding.offset);
}

std::string messagesOf(const std::vector<Data::Finding>& findings) {
    std::string text;
    for (const Data::Finding& finding : findings) {
        const std::string place = placeOf(finding);
        if (!place.empty()) text += place + ": ";
        if (finding.node) text += "node " + shownNode(*finding.node) + ": ";
        if (finding.code == Data::Finding::Code::kNotAScene) text += "is not a scene: ";
        for (const char c : finding.message) {
            text += c;
            if (c == '\n') text += "    ";
        }
        text += '\n';
    }
    return text;
}

}  // namespace orbo::Quilmeta
