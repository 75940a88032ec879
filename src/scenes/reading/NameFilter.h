// Knows which names a read is asked for, and which of them it has met.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>

namespace orbo::Data {

class NameFilter {
  public:
    /// Null means all names; the set outlives the filter.
    explicit NameFilter(const std::set<std::string>* names) : fNames(names) {
        if (names) fLeft = *names;
    }

    [[nodiscard]] bool wants(const std::string& name) const {
        return !fNames || fNames->count(name) > 0;
    }
    void found(const std::string& name) { fLeft.erase(name); }
    /// The name is wanted and has not been found yet.
    [[nodiscard]] bool isLeft(const std::string& name) const {
        return !fNames || fLeft.count(name) > 0;
    }
    /// Every name has been found.
    [[nodiscard]] bool done() const { return fNames && fLeft.empty(); }

  private:
    const std::set<std::string>* fNames;
    std::set<std::string> fLeft;
};

}  // namespace orbo::Data
