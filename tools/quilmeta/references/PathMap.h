// Prefixes of paths, and what takes their places.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// A prefix fits where a component of the path ends. The comparison takes "/" and "\" for the same
/// separator; it heeds the case of letters, except for drive letters. Separators at the end of a
/// prefix make no difference. "/" is the root of paths that begin with one separator, "\\" of paths
/// that begin with two.
class PathMap {
  public:
    /// Throws `CommandError` for an empty prefix, and for one that already has another replacement.
    void add(const std::string& from, const std::string& to);
    /// Adds each record of a table with two columns, the first record included. Throws an exception
    /// that names the line.
    void addCsv(std::string_view text);

    /// The path with its longest known prefix replaced; no value when no prefix fits. The rest of
    /// the path stays as it is.
    [[nodiscard]] std::optional<std::string> apply(const std::string& path) const;
    [[nodiscard]] bool empty() const { return fTargets.empty(); }

  private:
    struct Target {
        std::string ahead;  ///< stands in front of the rest of the path, which begins with "/"
        std::string alone;  ///< replaces a path that is the prefix and nothing more
    };
    std::map<std::string, Target, std::less<>>
        fTargets;  // by the body of the prefix, in comparable form
    size_t fLongest = 0;
};

}  // namespace orbo::Quilmeta
