// Prefixes of paths, and what takes their places.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// A prefix counts where a component of the path ends. "/" and "\" both separate and are the same
/// to the comparison; the case counts, except that of a drive letter. Separators at the end of a
/// prefix make no difference. "/" is the root of paths that begin with one separator, "\\" of
/// those that begin with two.
class PathMap {
  public:
    /// Throws `CommandError` for an empty prefix, and for one that is to become two things.
    void add(const std::string& from, const std::string& to);
    /// Each record of a table of two columns is a pair, the first included. Throws `CommandError`
    /// that names the line.
    void addCsv(std::string_view text);

    /// The path with its longest prefix replaced; none when there is none. What follows the prefix
    /// stays as it is.
    [[nodiscard]] std::optional<std::string> apply(const std::string& path) const;
    [[nodiscard]] bool empty() const { return fTargets.empty(); }

  private:
    struct Target {
        std::string ahead;  ///< of what follows the prefix, which begins with a separator
        std::string alone;  ///< when nothing follows
    };
    std::map<std::string, Target, std::less<>> fTargets;  // by what the prefixes have in common
    size_t fLongest = 0;
};

}  // namespace orbo::Quilmeta
