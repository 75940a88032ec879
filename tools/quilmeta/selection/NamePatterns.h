// The names of nodes, channels or streams that a user asks for.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "values/Glob.h"

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// A list of patterns; a name is wanted when one of them fits. Every name is wanted while there is
/// no pattern. A pattern with wildcards never fits the empty name: that is the scene's own, which
/// is changed only by those who name it.
class NamePatterns {
  public:
    enum class As { kGlob, kLiteral };

    void add(std::string_view pattern, As as = As::kGlob);
    [[nodiscard]] bool empty() const { return fPatterns.empty(); }
    [[nodiscard]] bool want(std::string_view name) const;
    /// The pattern that fits first; null when none does, and without patterns.
    [[nodiscard]] const Glob* patternFor(std::string_view name) const;
    /// All names that can be wanted; no value when a wildcard, or the lack of patterns, leaves that
    /// open.
    [[nodiscard]] std::optional<std::set<std::string>> onlyNames() const;
    /// The patterns as the user wrote them.
    [[nodiscard]] const std::vector<std::string>& texts() const { return fTexts; }

  private:
    std::vector<Glob> fPatterns;
    std::vector<std::string> fTexts;
};

}  // namespace orbo::Quilmeta
