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
        return ++namesAskedFor, *entry;
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
    set.sort(renames);
    return namesAskedFor;
}

TEST(NameOrdered, RenamesByTheOwnerTakeAFewStepsEach) {
    const unsigned long steps = stepsOfRenames(1000);
    EXPECT_LE(steps, 1000 * 3);
    EXPECT_EQ(2 * steps, stepsOfRenames(2000));
}

}  // namespace
}  // namespace orbo::Data
