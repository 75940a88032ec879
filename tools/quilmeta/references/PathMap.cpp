// Prefixes of paths, and what takes their places.
// SPDX-License-Identifier: Apache-2.0
#include "references/PathMap.h"

#include "process/CommandError.h"
#include "values/Csv.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <algorithm>

namespace orbo::Quilmeta {

namespace {

bool isLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

/// Says whether a path begins with "C:" or another drive.
bool isDrive(std::string_view text) {
    return text.size() >= 2 && isLetter(text[0]) && text[1] == ':';
}

/// The form in which paths are compared, of the same length: "/" for every separator, and a drive
/// letter in lower case.
std::string comparable(std::string_view path) {
    std::string text(path);
    std::replace(text.begin(), text.end(), '\\', '/');
    // The long form of a Windows path, \\?\C:\..., has its drive letter behind four characters.
    const size_t start = text.compare(0, 4, "//?/") == 0 ? 4 : 0;
    if (isDrive(std::string_view(text).substr(start)))
        text[start] = static_cast<char>(text[start] | 0x20);
    return text;
}

/// The length of a comparable prefix without the separators at its end: 0 for the root "/", and 1
/// for the root "//".
size_t bodyLength(const std::string& prefix) {
    const size_t last = prefix.find_last_not_of('/');
    if (last != prefix.npos) return last + 1;
    return prefix.size() > 1 ? 1 : 0;
}

/// True for a prefix that would mean something else without the separator at its end.
bool isRoot(std::string_view body) { return body.empty() || body == "/" || body.back() == ':'; }

/// Says whether a prefix of this length may end here. `path` is comparable and not empty.
bool isBorder(const std::string& path, size_t length) {
    const bool doubled = path.compare(0, 2, "//") == 0;
    if (length == 0) return path[0] == '/' && !doubled;
    if (length == 1 && path[0] == '/') return doubled;
    return length == path.size() || path[length] == '/';
}

}  // namespace

void PathMap::add(const std::string& from, const std::string& to) {
    if (from.empty() || to.empty()) throw CommandError("a prefix is empty");
    std::string body = comparable(from);
    body.resize(bodyLength(body));
    const std::string comparableTo = comparable(to);
    Target target{to.substr(0, bodyLength(comparableTo)), {}};
    target.alone = isRoot(comparableTo.substr(0, target.ahead.size())) ? to : target.ahead;
    fLongest = std::max(fLongest, body.size());
    const auto [entry, isNew] = fTargets.emplace(std::move(body), target);
    if (!isNew && entry->second.alone != target.alone)
        throw CommandError(fmt::format("prefix {} is to become both {} and {}", inQuotes(from),
                                       inQuotes(entry->second.alone), inQuotes(target.alone)));
}

void PathMap::addCsv(std::string_view text) {
    for (const CsvRecord& record : parseCsv(text)) {
        try {
            if (record.fields.size() != 2)
                throw CommandError(counted(record.fields.size(), "column") + " instead of 2");
            for (const std::string& field : record.fields)
                if (field.find('\0') != field.npos) throw CommandError("a NUL character");
            add(record.fields[0], record.fields[1]);
        } catch (const CommandError& trouble) {
            throw CommandError(fmt::format("line {}: {}", record.line, trouble.what()));
        }
    }
}

std::optional<std::string> PathMap::apply(const std::string& path) const {
    if (path.empty() || empty()) return {};
    const std::string text = comparable(path);
    // The search begins with the longest prefix, so the first hit is the right one.
    for (size_t length = std::min(fLongest, text.size()) + 1; length-- > 0;) {
        if (!isBorder(text, length)) continue;
        const auto found = fTargets.find(std::string_view(text).substr(0, length));
        if (found == fTargets.end()) continue;
        if (length == path.size()) return found->second.alone;
        return found->second.ahead + path.substr(length);
    }
    return {};
}

}  // namespace orbo::Quilmeta
