// Whether a file in the place of a journal may be acted on.
// SPDX-License-Identifier: Apache-2.0
#include "files/journal/JournalTrust.h"

#include <algorithm>

namespace orbo::Files {

namespace {

constexpr unsigned kMayWrite = FileAccess::kMayWrite;

// Whether a user outside the group may create files in the folder.
bool opensWithout(const FileAccess& folder, std::uint64_t user, std::uint64_t group) {
    const auto opensTo = [&](std::uint64_t another) {
        return another != group && (folder.rightsOf(user, {another}) & kMayWrite) != 0;
    };
    return (folder.rightsOf(user, {}) & kMayWrite) != 0 || opensTo(folder.group) ||
           std::any_of(folder.groups.begin(), folder.groups.end(),
                       [&](const FileAccess::Entry& entry) { return opensTo(entry.id); });
}

// A file gets its group from a member of the group, or from a folder that passes its own group on.
bool provesMembership(const JournalFacts& facts) {
    const FileAccess& journal = facts.journalAccess;
    if (!facts.folderAccess) return false;
    const FileAccess& folder = *facts.folderAccess;
    const bool isGiven = folder.givesGroup && folder.group == journal.group;
    return !isGiven || !opensWithout(folder, journal.owner, journal.group);
}

}  // namespace

bool isOfWriter(const JournalFacts& facts) {
    const FileAccess& file = facts.fileAccess;
    const std::uint64_t owner = facts.journalAccess.owner;
    if (facts.ownerGroups && (file.rightsOf(owner, *facts.ownerGroups) & kMayWrite) != 0) {
        return true;
    }
    std::vector<std::uint64_t> groups = facts.ownerGroups.value_or(std::vector<std::uint64_t>());
    if (provesMembership(facts)) groups.push_back(facts.journalAccess.group);
    return (file.surelyRightsOf(owner, groups) & kMayWrite) != 0;
}

JournalTrust trustIn(const JournalFacts& facts) {
    JournalTrust trust = JournalTrust::kActedOn;
    if (!isOfWriter(facts)) {
        trust = JournalTrust::kOfStranger;
    } else if (!facts.journalAccess.givesNoMoreThan(facts.fileAccess, kMayWrite)) {
        trust = JournalTrust::kOpenToOthers;
    } else if (facts.journal.links > 1) {
        trust = JournalTrust::kHasOtherNames;
    }
    const bool isHarmless = facts.journal.length == 0 && trust != JournalTrust::kActedOn;
    return isHarmless ? JournalTrust::kIgnored : trust;
}

const char* reasonOf(JournalTrust trust) {
    switch (trust) {
        case JournalTrust::kOfStranger:
            return "was not applied: that user may not write the file, as far as is known. Remove "
                   "it or, if you trust what is in it, give it to the owner of the file";
        case JournalTrust::kOpenToOthers:
            return "was not applied: others may write it who may not write the file. Remove it or, "
                   "if you trust what is in it, take that permission from them";
        case JournalTrust::kHasOtherNames:
            return "was not applied: it has several hard links. Remove the others if you trust "
                   "what is in it";
        case JournalTrust::kActedOn:
        case JournalTrust::kIgnored:
            break;
    }
    return "";
}

std::optional<JournalFacts> journalFacts(FileSystem& system, const std::string& journalPath,
                                         File* journal, File& file, std::error_code& error) {
    const auto status = journal ? journal->status() : system.status(journalPath, error);
    const auto access = journal ? journal->access() : system.access(journalPath, error);
    const auto fileAccess = file.access();
    if (!status || !access || !fileAccess) {
        if (!fileAccess) error = file.error();
        if (journal && !error) error = journal->error();
        // The journal has been removed meanwhile.
        if (!error) error = std::make_error_code(std::errc::resource_unavailable_try_again);
        return std::nullopt;
    }
    std::error_code ignored;
    const std::string folder = journalPath.substr(0, journalPath.rfind('/') + 1);
    return JournalFacts{
        *status, *access, *fileAccess, system.access(folder.empty() ? "." : folder, ignored),
        access->owner == fileAccess->owner ? std::nullopt : system.groupsOf(access->owner)};
}

}  // namespace orbo::Files
