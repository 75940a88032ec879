// Rights of files as the operating system keeps them: mode bits and access control lists.
// SPDX-License-Identifier: Apache-2.0
#ifndef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64
#endif

#include "files/posix/PosixAccess.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>
#ifdef __linux__
#include <sys/xattr.h>
#endif

#include <array>
#include <cerrno>
#include <limits>

#include "files/posix/SystemCall.h"

namespace orbo::Files {

namespace {

using Ids = std::vector<std::uint64_t>;

// The list begins with its version. An entry is a kind, rights and a number, of 2, 2 and 4 bytes,
// all little-endian; entries are in the order of their kinds.
constexpr std::uint32_t kListVersion = 2;
constexpr std::size_t kEntrySize = 8;
enum Kind : unsigned { kOwner = 1, kUser = 2, kOwnGroup = 4, kGroup = 8, kMask = 16, kOther = 32 };
constexpr std::uint32_t kNoId = ~std::uint32_t{0};

std::string littleEndian(std::uint64_t value, int size) {
    std::string bytes;
    for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> 8 * i & 0xFF);
    return bytes;
}

std::uint32_t fromLittleEndian(std::string_view bytes) {
    std::uint32_t value = 0;
    for (std::size_t i = bytes.size(); i > 0; --i) {
        value = value << 8 | static_cast<unsigned char>(bytes[i - 1]);
    }
    return value;
}

std::string entry(Kind kind, unsigned rights, std::uint64_t id = kNoId) {
    return littleEndian(kind, 2) + littleEndian(rights, 2) + littleEndian(id, 4);
}

// The mask is the sum of what the entries for users and groups grant, so that each entry takes
// effect. Where the sum is nothing, the system ignores the list, and everybody on it would have the
// rights of all others. A right that no entry grants, to execute the file, makes the system look at
// the list.
unsigned maskOf(const FileAccess& access) {
    constexpr unsigned kMayRun = 1;
    unsigned mask = access.groupRights;
    for (const FileAccess::Entry& user : access.users) mask |= user.rights;
    for (const FileAccess::Entry& group : access.groups) mask |= group.rights;
    return mask == 0 ? kMayRun : mask;
}

mode_t modeOf(const FileAccess& access) {
    return static_cast<mode_t>(access.ownerRights << 6 | access.groupRights << 3 |
                               access.otherRights);
}

std::error_code notSupported() { return std::make_error_code(std::errc::not_supported); }

#ifdef __linux__
constexpr const char* kListName = "system.posix_acl_access";

bool hasNoList(int error) { return error == ENODATA || error == ENOTSUP || error == ENOSYS; }

/// Reads the bytes of a list; empty without one.
template <typename Get>
std::optional<std::string> listBytes(Get get, std::error_code& error) {
    std::string bytes(1024, '\0');
    for (;;) {
        const ssize_t size = get(bytes.data(), bytes.size());
        if (size >= 0) return bytes.substr(0, static_cast<std::size_t>(size));
        if (hasNoList(errno)) return std::string();
        error = lastError();
        // No list is longer than this.
        if (errno != ERANGE || bytes.size() > 65536) return std::nullopt;
        bytes.resize(2 * bytes.size());
    }
}

std::optional<std::string> listBytes(int descriptor, std::error_code& error) {
    return listBytes(
        [&](void* to, std::size_t size) { return ::fgetxattr(descriptor, kListName, to, size); },
        error);
}
std::optional<std::string> listBytes(const std::string& path, std::error_code& error) {
    return listBytes(
        [&](void* to, std::size_t size) { return ::lgetxattr(path.c_str(), kListName, to, size); },
        error);
}
bool setList(int descriptor, const FileAccess& access, std::error_code& error) {
    const std::string bytes = accessListBytes(access);
    if (::fsetxattr(descriptor, kListName, bytes.data(), bytes.size(), 0) == 0) return true;
    error = hasNoList(errno) ? notSupported() : lastError();
    return false;
}
#else
template <typename Place>
std::optional<std::string> listBytes(const Place&, std::error_code&) {
    return std::string();
}
bool setList(int, const FileAccess&, std::error_code& error) {
    error = notSupported();
    return false;
}
#endif

template <typename Place>
std::optional<FileAccess> withList(const struct stat& found, const Place& place,
                                   std::error_code& error) {
    FileStatus status;
    status.owner = found.st_uid;
    status.group = found.st_gid;
    status.permissions = found.st_mode & 07777U;
    FileAccess access = FileAccess::of(status);
    if (S_ISLNK(found.st_mode)) return access;
    const std::optional<std::string> list = listBytes(place, error);
    if (!list) return std::nullopt;
    if (list->empty() || readAccessList(*list, access)) return access;
    error = notSupported();
    return std::nullopt;
}

/// The error that a journal would let others read or write what the file does not.
class NoSuitableAccess : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "access"; }
    [[nodiscard]] std::string message(int) const override {
        return "It cannot have the owner, group and permissions that the file asks for";
    }
    [[nodiscard]] std::error_condition default_error_condition(int) const noexcept override {
        return std::errc::operation_not_permitted;
    }
};

std::error_code noSuitableAccess() {
    static const NoSuitableAccess category;
    return {1, category};
}

struct Suited {
    const FileAccess& file;
    std::uint64_t user = ::geteuid();
    Ids userGroups = groupsOfUser(user).value_or(Ids());
    Ids ownerGroups = groupsOfUser(file.owner).value_or(Ids());

    [[nodiscard]] bool operator()(const FileAccess& journal) const {
        return suitsJournal(journal, file, user, userGroups, ownerGroups);
    }
};

bool giveGroup(int descriptor, std::uint64_t group) {
    return ::fchown(descriptor, static_cast<uid_t>(-1), static_cast<gid_t>(group)) == 0;
}

// Only root can give files away, and only members can give files to a group. A journal in a group
// that may write the file shows that the journal's owner may write it, too.
void giveOwnerAndGroup(int descriptor, const FileAccess& file) {
    const auto owner = static_cast<uid_t>(file.owner);
    const auto group = static_cast<gid_t>(file.group);
    if (::fchown(descriptor, owner, group) == 0) return;
    if (file.groupRights == FileAccess::kMayBoth && giveGroup(descriptor, file.group)) return;
    for (const FileAccess::Entry& entry : file.groups) {
        if (entry.rights == FileAccess::kMayBoth && giveGroup(descriptor, entry.id)) return;
    }
    giveGroup(descriptor, file.group);
}

// Where there are no lists, sets mode bits. At no step may a user open the file who may not in the
// end.
bool giveMode(int descriptor, FileAccess wanted, const Suited& suits) {
    wanted.users.clear();
    wanted.groups.clear();
    if (!suits(wanted)) wanted.groupRights = wanted.otherRights = 0;
    // Some systems have one mode for all files; the result is checked later.
    return suits(wanted) && (::fchmod(descriptor, modeOf(wanted)) == 0 || errno == EPERM);
}

}  // namespace

std::string accessListBytes(const FileAccess& access) {
    std::string bytes = littleEndian(kListVersion, 4) + entry(kOwner, access.ownerRights);
    for (const auto& user : access.users) bytes += entry(kUser, user.rights, user.id);
    bytes += entry(kOwnGroup, access.groupRights);
    for (const auto& group : access.groups) bytes += entry(kGroup, group.rights, group.id);
    const bool isPlain = access.users.empty() && access.groups.empty();
    if (!isPlain) bytes += entry(kMask, maskOf(access));
    return bytes + entry(kOther, access.otherRights);
}

bool readAccessList(std::string_view bytes, FileAccess& access) {
    if (bytes.size() < 4 || (bytes.size() - 4) % kEntrySize != 0) return false;
    if (fromLittleEndian(bytes.substr(0, 4)) != kListVersion) return false;
    unsigned mask = ~0U;
    for (bytes.remove_prefix(4); !bytes.empty(); bytes.remove_prefix(kEntrySize)) {
        const unsigned allRights = fromLittleEndian(bytes.substr(2, 2));
        const unsigned rights = allRights & FileAccess::kMayBoth;
        const std::uint64_t id = fromLittleEndian(bytes.substr(4, 4));
        switch (fromLittleEndian(bytes.substr(0, 2))) {
            case kOwner:
                access.ownerRights = rights;
                break;
            case kUser:
                access.addUser(id, rights);
                break;
            case kOwnGroup:
                access.groupRights = rights;
                break;
            case kGroup:
                access.addGroup(id, rights);
                break;
            case kMask:
                mask = allRights;
                break;
            case kOther:
                access.otherRights = rights;
                break;
            default:
                return false;
        }
    }
    access.applyMask(mask);
    // The system ignores such a list.
    if (mask == 0) access.users.clear(), access.groups.clear();
    return true;
}

std::optional<FileAccess> accessOf(int descriptor, std::error_code& error) {
    struct stat found = {};
    if (::fstat(descriptor, &found) == 0) return withList(found, descriptor, error);
    error = lastError();
    return std::nullopt;
}

std::optional<FileAccess> accessOf(const std::string& path, std::error_code& error) {
    struct stat found = {};
    if (::lstat(path.c_str(), &found) == 0) return withList(found, path, error);
    error = lastError();
    return std::nullopt;
}

bool giveJournalAccess(int descriptor, const FileAccess& file, std::error_code& error) {
    giveOwnerAndGroup(descriptor, file);
    const std::optional<FileAccess> made = accessOf(descriptor, error);
    if (!made) return false;
    const Suited suits{file};
    const FileAccess wanted = journalAccess(file, made->owner, made->group);
    if (suits(wanted)) {
        const bool isSet = setList(descriptor, wanted, error) ||
                           (error == notSupported() && giveMode(descriptor, wanted, suits));
        if (!isSet && error != notSupported()) return false;
        const auto given = isSet ? accessOf(descriptor, error = {}) : std::nullopt;
        if (given && suits(*given)) return true;
        if (isSet && !given) return false;
    }
    error = noSuitableAccess();
    return false;
}

std::optional<Ids> groupsOfUser(std::uint64_t user) {
    std::vector<gid_t> groups(64);
    if (user == ::geteuid()) {
        const int count = ::getgroups(0, nullptr);
        groups.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        const int got = count > 0 ? ::getgroups(count, groups.data()) : 0;
        groups.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        groups.push_back(::getegid());
        return Ids(groups.begin(), groups.end());
    }
    struct passwd entry = {};
    struct passwd* found = nullptr;
    std::array<char, 4096> text;
    if (user > std::numeric_limits<uid_t>::max()) return std::nullopt;
    ::getpwuid_r(static_cast<uid_t>(user), &entry, text.data(), text.size(), &found);
    if (!found) return std::nullopt;
    for (int count = static_cast<int>(groups.size()); count <= 65536;) {
        groups.resize(static_cast<std::size_t>(count));
        if (::getgrouplist(found->pw_name, found->pw_gid, groups.data(), &count) >= 0) {
            return Ids(groups.begin(), groups.begin() + count);
        }
    }
    return std::nullopt;
}

std::string nameOfUser(std::uint64_t user) {
    struct passwd entry = {};
    struct passwd* found = nullptr;
    std::array<char, 4096> text;
    if (user > std::numeric_limits<uid_t>::max()) return {};
    ::getpwuid_r(static_cast<uid_t>(user), &entry, text.data(), text.size(), &found);
    return found ? found->pw_name : "";
}

}  // namespace orbo::Files
