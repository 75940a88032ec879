// Gives the rows of a table of external files new paths.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "scene/PathMap.h"

#include <data/Handle.h>

#include <map>
#include <mutex>
#include <string>

namespace orbo::Quilmeta {

/// Replaces prefixes of paths, and remembers which prefixes some path begins with. Several threads
/// may apply it, each to its own rows.
class Repath {
  public:
    /// A prefix of the command line, which must be of use.
    void add(const std::string& from, const std::string& to);
    /// Prefixes of a table, of which at least one must be of use if there are no others.
    void addCsv(std::string_view text) { fMap.addCsv(text); }
    [[nodiscard]] bool empty() const { return fMap.empty(); }

    /// Replaces the prefixes of both paths in the row. Returns what has changed, as lines for
    /// people; empty when nothing has. Throws `CommandError` when the table cannot hold a path.
    std::string apply(Data::Handle& row);

    /// Reports the prefixes that no path begins with. Returns false when it has reported any.
    [[nodiscard]] bool reportUnused() const;

  private:
    void noteUse(const std::string& path, bool isMapped);

    PathMap fMap;
    std::mutex fMutex;                       // guards what is below while it is applied
    std::map<std::string, PathMap> fUnused;  // of the command line, a map with that prefix alone
    bool fAnyMapped = false;
};

}  // namespace orbo::Quilmeta
