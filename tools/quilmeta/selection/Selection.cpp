// The part of a scene's metadata that the user asked for.
// SPDX-License-Identifier: Apache-2.0
#include "selection/Selection.h"

#include "values/SafeText.h"

namespace orbo::Quilmeta {

bool Selection::wantsNode(const std::string& name) const {
    if (!name.empty() || !nodes.empty()) return nodes.want(name);
    const auto hasNoWildcard = [](const NamePatterns& patterns) {
        return patterns.empty() || patterns.onlyNames().has_value();
    };
    return hasNoWildcard(channels) && hasNoWildcard(streams);
}

std::string Selection::text() const {
    std::string text;
    const auto add = [&](const char* option, const NamePatterns& patterns) {
        for (const std::string& pattern : patterns.texts())
            text += std::string(" ") + option + ' ' + inQuotes(pattern);
    };
    add("--node", nodes);
    add("--channel", channels);
    add("--stream", streams);
    return text;
}

NamePatterns SelectionArguments::patterns(const std::vector<std::string>& texts) const {
    NamePatterns result;
    for (const std::string& text : texts) result.add(text, as());
    return result;
}

Selection SelectionArguments::selection() const {
    return {patterns(nodes), patterns(channels), patterns(streams)};
}

}  // namespace orbo::Quilmeta
