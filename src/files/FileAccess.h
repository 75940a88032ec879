// Who may read and write a file: its owner, its group, and its access control list.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "files/File.h"

namespace orbo::Files {

/// The rights of a file, its list's mask applied. Rights are `kMayRead`, `kMayWrite`, both or none.
struct FileAccess {
    static constexpr unsigned kMayRead = 4;
    static constexpr unsigned kMayWrite = 2;
    static constexpr unsigned kMayBoth = kMayRead | kMayWrite;

    /// The rights that a list grants to a user, or to the members of a group.
    struct Entry {
        std::uint64_t id = 0;
        unsigned rights = 0;
    };

    std::uint64_t owner = 0;
    std::uint64_t group = 0;
    unsigned ownerRights = kMayBoth;
    unsigned groupRights = 0;
    unsigned otherRights = 0;
    /// No two entries have one number, and none of the groups is that of the file: see `addUser`,
    /// `addGroup`.
    std::vector<Entry> users;
    std::vector<Entry> groups;
    /// The set-group-id bit: new files in such a folder get the folder's group.
    bool givesGroup = false;

    /// The rights of a file that has no list.
    static FileAccess of(const FileStatus& status);

    /// The first entry of a user counts; the entries of a group add up.
    void addUser(std::uint64_t user, unsigned rights);
    void addGroup(std::uint64_t another, unsigned rights);
    void applyMask(unsigned mask);

    /// The rights of a user who is in these groups and in no others. The owner has both, because
    /// an owner may change the permissions; so has root.
    [[nodiscard]] unsigned rightsOf(std::uint64_t user,
                                    const std::vector<std::uint64_t>& memberOf) const;
    /// The rights of a user who is in these groups and perhaps in others.
    [[nodiscard]] unsigned surelyRightsOf(std::uint64_t user,
                                          const std::vector<std::uint64_t>& memberOf) const;
    /// Whether every user but this file's owner who has one of these rights here has it there, too.
    [[nodiscard]] bool givesNoMoreThan(const FileAccess& other, unsigned rights = kMayBoth) const;

  private:
    [[nodiscard]] unsigned groupClassOf(const std::vector<std::uint64_t>& memberOf,
                                        bool& matches) const;
    [[nodiscard]] bool givesUserNoMoreThan(const FileAccess& other, std::uint64_t user,
                                           unsigned rights) const;
};

/// The rights for a journal of this owner and group beside a file: no more than the file gives to
/// anybody, and both to the file's owner.
FileAccess journalAccess(const FileAccess& file, std::uint64_t owner, std::uint64_t group);

/// Whether a journal may have the rights `journal` beside a file with the rights `file`. `user`
/// writes it, and is in the groups `userGroups`; the file's owner is known to be in
/// `fileOwnerGroups`.
bool suitsJournal(const FileAccess& journal, const FileAccess& file, std::uint64_t user,
                  const std::vector<std::uint64_t>& userGroups,
                  const std::vector<std::uint64_t>& fileOwnerGroups);

}  // namespace orbo::Files
