// Rights of files: what lists give, what a journal gets of them, and who is trusted for it.
// SPDX-License-Identifier: Apache-2.0
#include "files/FileAccess.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "files/journal/JournalTrust.h"
#include "files/posix/PosixAccess.h"

namespace orbo::Files {
namespace {

using Ids = std::vector<std::uint64_t>;

constexpr unsigned kRead = FileAccess::kMayRead;
constexpr unsigned kWrite = FileAccess::kMayWrite;
constexpr unsigned kBoth = FileAccess::kMayBoth;

FileAccess access(std::uint64_t owner, std::uint64_t group, unsigned permissions) {
    FileStatus status;
    status.owner = owner;
    status.group = group;
    status.permissions = permissions;
    return FileAccess::of(status);
}

/// Small numbers, so that users and groups meet; 1 to 3 are users, 1 to 4 groups.
class RandomAccess {
  public:
    FileAccess next() {
        FileAccess made = access(1 + any(3), 1 + any(4), any(512));
        for (unsigned n = any(3); n > 0; --n) made.addUser(n + any(2), 2 * any(4));
        for (unsigned n = any(3); n > 0; --n) made.addGroup(n + any(2), 2 * any(4));
        return made;
    }
    unsigned any(unsigned count) { return static_cast<unsigned>(fRandom() % count); }

  private:
    std::mt19937 fRandom{5};
};

Ids groupsIn(unsigned bits) {
    Ids ids;
    for (unsigned i = 0; i < 5; ++i) {
        if ((bits >> i & 1) != 0) ids.push_back(i + 1);
    }
    return ids;
}

// By asking for every user, in whatever groups.
bool givesNoMore(const FileAccess& one, const FileAccess& other, unsigned rights) {
    for (std::uint64_t user = 1; user <= 5; ++user) {
        for (unsigned bits = 0; bits < 32 && user != one.owner; ++bits) {
            const Ids groups = groupsIn(bits);
            if ((one.rightsOf(user, groups) & rights & ~other.rightsOf(user, groups)) != 0) {
                return false;
            }
        }
    }
    return true;
}

TEST(FileAccessTest, ComparesTheRightsOfAllUsersInAllGroups) {
    RandomAccess random;
    int more = 0;
    for (int i = 0; i < 20000; ++i) {
        const FileAccess one = random.next();
        const FileAccess other = random.next();
        for (const unsigned rights : {kWrite, kBoth}) {
            const bool expected = givesNoMore(one, other, rights);
            ASSERT_EQ(one.givesNoMoreThan(other, rights), expected) << i;
            more += expected ? 0 : 1;
        }
        unsigned surely = kBoth;
        for (unsigned bits = 0; bits < 32; ++bits) {
            surely &= one.rightsOf(2, groupsIn(bits | 4));
        }
        ASSERT_EQ(one.surelyRightsOf(2, {3}), surely) << i;
    }
    EXPECT_GT(more, 1000);
    EXPECT_LT(more, 39000);
}

TEST(FileAccessTest, AJournalGivesNoMoreThanItsFileWhoeverOwnsIt) {
    RandomAccess random;
    for (int i = 0; i < 20000; ++i) {
        const FileAccess file = random.next();
        const FileAccess journal = journalAccess(file, 1 + random.any(3), 1 + random.any(5));
        ASSERT_TRUE(journal.givesNoMoreThan(file)) << i;
        ASSERT_EQ(journal.surelyRightsOf(file.owner, {}), kBoth) << i;
        ASSERT_TRUE(suitsJournal(journal, file, journal.owner, {}, {})) << i;
        // Whoever owns and shares it with the group has the rights of the file.
        const FileAccess same = journalAccess(file, file.owner, file.group);
        ASSERT_TRUE(file.givesNoMoreThan(same)) << i;
        // The list survives being written.
        FileAccess again = access(journal.owner, journal.group, 0);
        ASSERT_TRUE(readAccessList(accessListBytes(journal), again)) << i;
        ASSERT_TRUE(again.givesNoMoreThan(journal) && journal.givesNoMoreThan(again)) << i;
    }
}

TEST(FileAccessTest, AListOfAnotherKindIsNone) {
    FileAccess ignored;
    const std::string list = accessListBytes(access(1, 1, 0640));
    EXPECT_EQ(list.size(), 4 + 3 * 8U) << "no mask where nobody is named";
    for (const std::string& bytes :
         {std::string(), list.substr(0, 3), list + "x", "\3" + list.substr(1),
          list + std::string("\x40\0\6\0\0\0\0\0", 8)}) {
        EXPECT_FALSE(readAccessList(bytes, ignored));
    }
}

// The mode of a file with a list shows the mask in place of what the group may do.
TEST(FileAccessTest, TheMaskTakesAwayWhatTheListGives) {
    const char list[] =
        "\2\0\0\0"
        "\1\0\6\0\xff\xff\xff\xff"
        "\2\0\7\0\x09\0\0\0"
        "\4\0\0\0\xff\xff\xff\xff"
        "\10\0\6\0\x08\1\0\0"
        "\20\0\4\0\xff\xff\xff\xff"
        "\40\0\0\0\xff\xff\xff\xff";
    FileAccess found = access(1, 1, 0640);
    ASSERT_TRUE(readAccessList({list, sizeof list - 1}, found));
    EXPECT_EQ(found.rightsOf(9, {1}), kRead);
    EXPECT_EQ(found.rightsOf(10, {1}), 0U);
    EXPECT_EQ(found.rightsOf(10, {264}), kRead);

    // One that gives nothing at all is not looked at.
    std::string empty(list, sizeof list - 1);
    empty[4 + 4 * 8 + 2] = '\0';
    empty[4 + 5 * 8 + 2] = '\6';
    found = access(1, 1, 0606);
    ASSERT_TRUE(readAccessList(empty, found));
    EXPECT_EQ(found.rightsOf(9, {}), kBoth);
    EXPECT_EQ(found.rightsOf(9, {1}), 0U);
}

// A scene of user 10 and group 20; the journal's owner is not in the user data base unless said.
struct TrustRow {
    const char* name;
    unsigned filePermissions;
    FileAccess journal;
    JournalTrust trust;
    FileAccess folder = access(0, 0, 0777);
    std::optional<Ids> groups = std::nullopt;
    std::vector<FileAccess::Entry> users = {};
    std::vector<FileAccess::Entry> named = {};
};

TEST(JournalTrustTest, WhoeverCouldHaveWrittenTheJournalMayWriteTheFile) {
    using Trust = JournalTrust;
    const TrustRow rows[] = {
        {"owner", 0600, access(10, 20, 0600), Trust::kActedOn},
        {"owner who took the right from himself", 0400, access(10, 1, 0600), Trust::kActedOn},
        {"root", 0600, access(0, 0, 0600), Trust::kActedOn},
        {"stranger", 0660, access(11, 21, 0600), Trust::kOfStranger},
        {"stranger who gives it to all", 0664, access(11, 21, 0666), Trust::kOfStranger},
        {"member by the journal's group", 0660, access(11, 20, 0660), Trust::kActedOn},
        {"member of a group that only reads", 0640, access(11, 20, 0640), Trust::kOfStranger},
        {"member by the data base", 0660, access(11, 21, 0600), Trust::kActedOn, {}, Ids{20}},
        {"no member by it", 0660, access(11, 21, 0600), Trust::kOfStranger, {}, Ids{21}},
        {"folder of the group", 0660, access(11, 20, 0660), Trust::kActedOn, access(10, 20, 02770)},
        {"folder that gives strangers its group", 0660, access(11, 20, 0660), Trust::kOfStranger,
         access(0, 20, 02777)},
        {"folder of the journal's owner", 0660, access(11, 20, 0660), Trust::kOfStranger,
         access(11, 20, 02770)},
        {"folder that is sticky", 0660, access(11, 20, 0660), Trust::kActedOn, access(0, 0, 01777)},
        {"all may write", 0666, access(11, 21, 0666), Trust::kActedOn},
        {"all but the group", 0606, access(11, 21, 0600), Trust::kOfStranger},
        {"all but the group, who is known",
         0606,
         access(11, 21, 0600),
         Trust::kActedOn,
         {},
         Ids{21}},
        {"on the list", 0600, access(11, 21, 0600), Trust::kActedOn, {}, {}, {{11, kBoth}}},
        {"on the list to read",
         0600,
         access(11, 21, 0600),
         Trust::kOfStranger,
         {},
         {},
         {{11, kRead}}},
        {"group on the list",
         0600,
         access(11, 21, 0600),
         Trust::kActedOn,
         {},
         {},
         {},
         {{21, kBoth}}},
        {"owner, but all may write it", 0600, access(10, 20, 0602), Trust::kOpenToOthers},
        {"owner, but the group may", 0640, access(10, 20, 0660), Trust::kOpenToOthers},
        {"owner, but another group may", 0660, access(10, 21, 0660), Trust::kOpenToOthers},
        {"all may read it", 0600, access(10, 20, 0644), Trust::kActedOn},
    };
    for (const TrustRow& row : rows) {
        JournalFacts facts;
        facts.fileAccess = access(10, 20, row.filePermissions);
        facts.fileAccess.users = row.users;
        facts.fileAccess.groups = row.named;
        facts.journalAccess = row.journal;
        facts.folderAccess = row.folder.ownerRights == kBoth ? row.folder : access(0, 0, 0777);
        facts.ownerGroups = row.groups;
        facts.journal.length = 9;
        EXPECT_EQ(trustIn(facts), row.trust) << row.name;
        const bool isActedOn = row.trust == Trust::kActedOn;
        EXPECT_EQ(*reasonOf(row.trust) == '\0', isActedOn);
        facts.journal.length = 0;
        EXPECT_EQ(trustIn(facts), isActedOn ? row.trust : Trust::kIgnored) << row.name;
        facts.journal = {};
        facts.journal.length = 9;
        facts.journal.links = 2;
        EXPECT_EQ(trustIn(facts), isActedOn ? Trust::kHasOtherNames : row.trust) << row.name;
    }
}

}  // namespace
}  // namespace orbo::Files
