// Hands owner, permissions and attributes of a file on to the one that replaces it.
// SPDX-License-Identifier: Apache-2.0
#include "process/KeptAccess.h"

#include "files/FileAccess.h"
#include "files/posix/PosixAccess.h"

#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>

namespace orbo::Quilmeta {

namespace {

constexpr const char* kAccessList = "system.posix_acl_access";

/// Calls a function that fills a buffer, and says the size that it needs when given none.
template <typename Fill>
std::optional<std::string> filled(const Fill& fill) {
    const ssize_t size = fill(nullptr, 0);
    if (size < 0) return std::nullopt;
    std::string bytes(static_cast<size_t>(size), '\0');
    const ssize_t got = fill(bytes.data(), bytes.size());
    if (got < 0) return std::nullopt;
    bytes.resize(static_cast<size_t>(got));
    return bytes;
}

std::optional<std::string> attribute(const std::string& path, const char* name) {
    return filled([&](char* to, size_t size) { return ::lgetxattr(path.c_str(), name, to, size); });
}

/// Leaves out what belongs to the bytes of the file, such as digests of them, and lists.
bool belongsToTheName(std::string_view attribute) {
    return attribute.substr(0, 5) == "user." || attribute == "security.selinux" ||
           attribute == "security.SMACK64";
}

// What the file system does not take is left out.
void copyAttributes(int descriptor, const std::string& from) {
    const std::optional<std::string> names =
        filled([&](char* to, size_t size) { return ::llistxattr(from.c_str(), to, size); });
    if (!names) return;
    for (size_t at = 0; at < names->size(); at += std::strlen(names->c_str() + at) + 1) {
        const char* const name = names->c_str() + at;
        if (!belongsToTheName(name)) continue;
        if (const auto value = attribute(from, name))
            ::fsetxattr(descriptor, name, value->data(), value->size(), 0);
    }
}

/// A new file has a list where its folder gives it one.
bool removeList(int descriptor) {
    return ::fremovexattr(descriptor, kAccessList) == 0 || errno == ENODATA || errno == ENOTSUP;
}

bool copyList(int descriptor, const std::string& from) {
    const auto list = attribute(from, kAccessList);
    if (!list) return (errno == ENODATA || errno == ENOTSUP) && removeList(descriptor);
    return ::fsetxattr(descriptor, kAccessList, list->data(), list->size(), 0) == 0;
}

/// Nobody has more rights on the way than in the end: the mode comes last.
bool giveTheSame(int descriptor, const std::string& from, const struct stat& there) {
    return ::fchown(descriptor, there.st_uid, there.st_gid) == 0 && copyList(descriptor, from) &&
           ::fchmod(descriptor, there.st_mode & 0777u) == 0;
}

}  // namespace

void keepAccess(int descriptor, const std::string& replaced, const struct stat& there) {
    copyAttributes(descriptor, replaced);
    if (giveTheSame(descriptor, replaced, there)) return;
    std::error_code error;
    const std::optional<Files::FileAccess> access = Files::accessOf(replaced, error);
    if (access && Files::giveJournalAccess(descriptor, *access, error)) return;
    if (removeList(descriptor)) ::fchmod(descriptor, S_IRUSR | S_IWUSR);
}

}  // namespace orbo::Quilmeta
