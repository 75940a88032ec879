// The names in folders, each folder read once.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// The names in one folder as they were when it was read, without links that lead nowhere.
class FolderList {
  public:
    explicit FolderList(const std::string& folder);

    [[nodiscard]] bool has(std::string_view name) const;
    /// Calls `visit` for names with this beginning and this end. It finds them by whichever of the
    /// two fewer names have, so it may hand out others as well.
    void visit(std::string_view start, std::string_view end,
               const std::function<void(const std::string&)>& visit) const;
    /// Why the folder could not be read; empty when it could, and when there is none.
    [[nodiscard]] const std::string& problem() const { return fProblem; }

  private:
    std::vector<std::string> fNames;     // sorted
    std::vector<std::string> fBackward;  // the names from last to first character, sorted
    std::string fProblem;
};

/// Any thread may ask for any folder.
class FolderLists {
  public:
    /// The list lives as long as this object.
    const FolderList& of(const std::string& folder);

  private:
    struct Entry {
        std::once_flag once;
        std::unique_ptr<FolderList> list;
    };
    std::mutex fMutex;  // guards the map alone
    std::map<std::string, Entry> fEntries;
};

}  // namespace orbo::Quilmeta
