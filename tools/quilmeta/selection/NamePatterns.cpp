// The names of nodes, channels or streams that a user asks for.
// SPDX-License-Identifier: Apache-2.0
#include "selection/NamePatterns.h"

namespace orbo::Quilmeta {

void NamePatterns::add(std::string_view pattern, As as) {
    fPatterns.push_back(as == As::kGlob ? Glob(pattern) : Glob::literal(pattern));
    fTexts.emplace_back(pattern);
}

bool NamePatterns::want(std::string_view name) const {
    return fPatterns.empty() || patternFor(name) != nullptr;
}

const Glob* NamePatterns::patternFor(std::string_view name) const {
    for (const Glob& pattern : fPatterns) {
        if (name.empty() && !pattern.onlyText()) continue;
        if (pattern.matches(name)) return &pattern;
    }
    return nullptr;
}

std::optional<std::set<std::string>> NamePatterns::onlyNames() const {
    if (fPatterns.empty()) return {};
    std::set<std::string> names;
    for (const Glob& pattern : fPatterns) {
        if (!pattern.onlyText()) return {};
        names.insert(*pattern.onlyText());
    }
    return names;
}

}  // namespace orbo::Quilmeta
