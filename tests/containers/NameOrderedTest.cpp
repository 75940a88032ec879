// The order that both containers keep.
// SPDX-License-Identifier: Apache-2.0
#include "containers/NameOrdered.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orbo::Data {
namespace {

unsigned long namesAskedFor = 0;

struct NameOf {
    const std::string& operator()(const std::string* entry) const {
        ++namesAskedFor;
        return *entry;
    }
};
using Set = NameOrdered<const std::string*, NameOf>;

/// The names looked at while each of `count` entries is renamed by the owner of the set.
unsigned long stepsOfRenames(unsigned int count) {
    std::vector<std::string> names;
    for (unsigned int i = 0; i < count; ++i) names.push_back("name" + std::to_string(i));
    Set set;
    for (const std::string& name : names) set.insert(&name);

    namesAskedFor = 0;
    std::uint64_t renames = 0;
    for (std::string& name : names) {
        const auto entry = set.find(name, renames);
        name = "renamed" + name;
        set.file(entry);
        set.markSorted(++renames);
        EXPECT_NE(set.end(), set.find(name, renames));
    }
    return namesAskedFor;
}

TEST(NameOrdered, RenamesByTheOwnerTakeAFewStepsEach) {
    const unsigned long steps = stepsOfRenames(1000);
    EXPECT_LE(steps, 1000 * 4);
    EXPECT_EQ(2 * steps, stepsOfRenames(2000));
}

TEST(NameOrdered, RenamesBehindItsBackAreFoundOnceAndLoseNothing) {
    std::vector<std::string> names = {"a", "b", "c", "d"};
    Set set;
    for (const std::string& name : names) set.insert(&name);

    names = {"z", "a", "a", "0"};
    EXPECT_EQ(&names[1], set.find("a", 1)->second);
    set.sort(1);
    std::vector<std::string> order;
    for (const auto& entry : set) order.push_back(*entry.second);
    EXPECT_EQ((std::vector<std::string>{"0", "a", "a", "z"}), order);
    EXPECT_TRUE(set.hasTwin(set.find("a", 1)));
    EXPECT_FALSE(set.hasTwin(set.find("z", 1)));

    namesAskedFor = 0;
    set.sort(1);
    EXPECT_EQ(0U, namesAskedFor) << "nothing was renamed since";
}

}  // namespace
}  // namespace orbo::Data
