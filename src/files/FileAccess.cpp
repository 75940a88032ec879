// Who may read and write a file: its owner, its group, and its access control list.
// SPDX-License-Identifier: Apache-2.0
#include "files/FileAccess.h"

#include <algorithm>

namespace orbo::Files {

namespace {

using Ids = std::vector<std::uint64_t>;

constexpr std::uint64_t kRoot = 0;
// No user has this number: it stands for all users whom no list names.
constexpr std::uint64_t kNobodyNamed = ~std::uint64_t{0};

const FileAccess::Entry* find(const std::vector<FileAccess::Entry>& entries, std::uint64_t id) {
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [id](const FileAccess::Entry& e) { return e.id == id; });
    return found == entries.end() ? nullptr : &*found;
}

bool contains(const Ids& ids, std::uint64_t id) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

void addGroups(const FileAccess& access, Ids& ids) {
    if (!contains(ids, access.group)) ids.push_back(access.group);
    for (const FileAccess::Entry& entry : access.groups) {
        if (!contains(ids, entry.id)) ids.push_back(entry.id);
    }
}

}  // namespace

FileAccess FileAccess::of(const FileStatus& status) {
    constexpr unsigned kSetGroupId = 02000;
    FileAccess access;
    access.owner = status.owner;
    access.group = status.group;
    access.ownerRights = status.permissions >> 6 & kMayBoth;
    access.groupRights = status.permissions >> 3 & kMayBoth;
    access.otherRights = status.permissions & kMayBoth;
    access.givesGroup = (status.permissions & kSetGroupId) != 0;
    return access;
}

void FileAccess::addUser(std::uint64_t user, unsigned rights) {
    if (!find(users, user)) users.push_back({user, rights});
}

void FileAccess::addGroup(std::uint64_t another, unsigned rights) {
    const auto found = std::find_if(groups.begin(), groups.end(),
                                    [another](const Entry& e) { return e.id == another; });
    if (another == group) {
        groupRights |= rights;
    } else if (found != groups.end()) {
        found->rights |= rights;
    } else {
        groups.push_back({another, rights});
    }
}

void FileAccess::applyMask(unsigned mask) {
    groupRights &= mask;
    for (Entry& user : users) user.rights &= mask;
    for (Entry& entry : groups) entry.rights &= mask;
}

// One matching entry is enough to grant a right, whatever the other matching entries say.
unsigned FileAccess::groupClassOf(const Ids& memberOf, bool& matches) const {
    unsigned rights = 0;
    matches = contains(memberOf, group);
    if (matches) rights |= groupRights;
    for (const Entry& entry : groups) {
        if (!contains(memberOf, entry.id)) continue;
        matches = true;
        rights |= entry.rights;
    }
    return rights;
}

unsigned FileAccess::rightsOf(std::uint64_t user, const Ids& memberOf) const {
    if (user == kRoot || user == owner) return kMayBoth;
    if (const Entry* named = find(users, user)) return named->rights;
    bool matches = false;
    const unsigned rights = groupClassOf(memberOf, matches);
    return matches ? rights : otherRights;
}

// Being in another group can take away what everybody has, but nothing that a group grants.
unsigned FileAccess::surelyRightsOf(std::uint64_t user, const Ids& memberOf) const {
    unsigned rights = rightsOf(user, memberOf);
    bool matches = false;
    static_cast<void>(groupClassOf(memberOf, matches));
    if (user == kRoot || user == owner || matches || find(users, user)) return rights;
    rights &= groupRights;
    for (const Entry& entry : groups) rights &= entry.rights;
    return rights;
}

bool FileAccess::givesNoMoreThan(const FileAccess& other, unsigned rights) const {
    Ids people{kNobodyNamed};
    for (const FileAccess* access : {this, &other}) {
        for (const Entry& entry : access->users) people.push_back(entry.id);
    }
    return std::all_of(people.begin(), people.end(), [&](std::uint64_t user) {
        return user == owner || givesUserNoMoreThan(other, user, rights);
    });
}

bool FileAccess::givesUserNoMoreThan(const FileAccess& other, std::uint64_t user,
                                     unsigned rights) const {
    const auto isCovered = [rights](unsigned here, unsigned there) {
        return (here & rights & ~there) == 0;
    };
    if (const Entry* named = find(users, user)) {
        return isCovered(named->rights, other.surelyRightsOf(user, {}));
    }
    Ids here;
    addGroups(*this, here);
    Ids there;
    addGroups(other, there);
    // A user in none of this file's groups may be in one of the other file's groups, or in none.
    return isCovered(otherRights, other.rightsOf(user, {})) &&
           std::all_of(here.begin(), here.end(),
                       [&](std::uint64_t one) {
                           return isCovered(rightsOf(user, {one}),
                                            other.surelyRightsOf(user, {one}));
                       }) &&
           std::all_of(there.begin(), there.end(), [&](std::uint64_t one) {
               return isCovered(rightsOf(user, {one}), other.rightsOf(user, {one}));
           });
}

FileAccess journalAccess(const FileAccess& file, std::uint64_t owner, std::uint64_t group) {
    FileAccess journal;
    journal.owner = owner;
    journal.group = group;
    journal.otherRights = file.otherRights;
    if (owner == file.owner) journal.ownerRights = file.ownerRights;
    for (const FileAccess::Entry& entry : file.users) {
        if (entry.id != owner && entry.id != file.owner) journal.users.push_back(entry);
    }
    if (owner != file.owner && file.owner != kRoot) {
        journal.users.push_back({file.owner, FileAccess::kMayBoth});
    }
    const FileAccess::Entry* named = find(file.groups, group);
    if (group == file.group) {
        journal.groupRights = file.groupRights;
    } else if (named) {
        journal.groupRights = named->rights;
    } else {
        // The rights of members of a group that the file does not name, whatever other groups they
        // are in.
        journal.groupRights = file.otherRights & file.groupRights;
        for (const FileAccess::Entry& entry : file.groups) journal.groupRights &= entry.rights;
    }
    if (group != file.group) journal.addGroup(file.group, file.groupRights);
    for (const FileAccess::Entry& entry : file.groups) {
        if (entry.id != group) journal.addGroup(entry.id, entry.rights);
    }
    return journal;
}

bool suitsJournal(const FileAccess& journal, const FileAccess& file, std::uint64_t user,
                  const Ids& userGroups, const Ids& fileOwnerGroups) {
    constexpr unsigned kBoth = FileAccess::kMayBoth;
    // The writer has the file open to be read and written.
    const bool ownerMay = journal.owner == user || journal.owner == file.owner ||
                          file.surelyRightsOf(journal.owner, {}) == kBoth;
    return ownerMay && journal.givesNoMoreThan(file) &&
           journal.rightsOf(user, userGroups) == kBoth &&
           journal.surelyRightsOf(file.owner, fileOwnerGroups) == kBoth;
}

}  // namespace orbo::Files
