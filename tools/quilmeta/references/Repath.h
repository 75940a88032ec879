// Gives the rows of a table of external files new paths.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "references/PathMap.h"

#include <data/Handle.h>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace re2 {
class RE2;
}

namespace orbo::Quilmeta {

/// Replaces prefixes of paths, or what regular expressions match in them, and remembers which of
/// them some path has. Several threads may apply it, each to its own rows.
class Repath {
  public:
    /// A prefix of the command line, which must be of use.
    void add(const std::string& from, const std::string& to);
    /// Prefixes of a table, of which at least one must be of use if there are no others.
    void addCsv(std::string_view text) { fMap.addCsv(text); }
    /// A regular expression, of which every match is replaced; it must be of use. `to` may have \1
    /// for what the first pair of brackets has matched. Expressions apply in their order, each to
    /// what the one before has made of the path. Throws `UsageError` when either text is wrong.
    void addRegex(const std::string& from, const std::string& to);
    [[nodiscard]] bool empty() const { return fMap.empty() && fRegexes.empty(); }

    /// Replaces the prefixes or matches of both paths in the row. Returns what has changed, as
    /// lines for people; empty when nothing has. Throws `CommandError` when the table cannot hold a
    /// path.
    std::string apply(Data::Handle& row);

    /// Reports the prefixes and expressions that no path has. Returns false when it has reported
    /// any.
    [[nodiscard]] bool reportUnused() const;

  private:
    struct Regex {
        std::shared_ptr<const re2::RE2> from;
        std::string to;
        bool used = false;
    };
    std::optional<std::string> changed(const std::string& path);
    std::optional<std::string> matched(const std::string& path);
    void noteUse(const std::string& path, bool isMapped);
    [[nodiscard]] bool reportUnusedRegexes() const;

    PathMap fMap;
    std::vector<Regex> fRegexes;             // the mutex guards `used`
    std::mutex fMutex;                       // guards what is below while it is applied
    std::map<std::string, PathMap> fUnused;  // of the command line, a map with that prefix alone
    bool fAnyMapped = false;
};

}  // namespace orbo::Quilmeta
