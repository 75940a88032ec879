// The findings of the library as text for people.
// SPDX-License-Identifier: Apache-2.0
#include "scene/FindingText.h"

#include "values/SafeText.h"

#include <fmt/format.h>

#include <string_view>

namespace orbo::Quilmeta {

using Data::Finding;

namespace {

/// Returns "line 12: ", "chunk MTDA at byte 96: " or "byte 96: "; empty without a place.
std::string placeOf(const Finding& finding) {
    if (finding.line) return fmt::format("line {}: ", *finding.line);
    if (!finding.offset) return {};
    if (finding.tag.empty()) return fmt::format("byte {}: ", *finding.offset);
    return fmt::format("chunk {} at byte {}: ", finding.tag, *finding.offset);
}

/// Returns "node arm: "; empty for a finding that is about no node.
std::string nodeOf(const Finding& finding) {
    return finding.node ? "node " + shownNode(*finding.node) + ": " : "";
}

/// Replaces line feeds, which a format's message may have.
std::string withLineEnds(const std::string& message, std::string_view lineEnd) {
    std::string text;
    for (const char c : message) {
        if (c == '\n')
            text += lineEnd;
        else
            text += c;
    }
    return text;
}

}  // namespace

std::string messagesOf(const std::vector<Finding>& findings) {
    std::string text;
    for (const Finding& finding : findings) {
        text += placeOf(finding);
        // The message of a failed write names the node itself.
        if (finding.code != Finding::Code::kWriteFailed) text += nodeOf(finding);
        if (finding.code == Finding::Code::kNotAScene) text += "is not a scene: ";
        text += withLineEnds(finding.message, "\n    ") + '\n';
    }
    return text;
}

std::string lineOf(const Finding& finding) {
    return safeLine(placeOf(finding)) + nodeOf(finding) + Finding::nameOf(finding.code) + ": " +
           safeLine(withLineEnds(finding.message, "; "));
}

}  // namespace orbo::Quilmeta
