// Objects of the library that programs refer to by name are the same for both. This program is not
// position-independent: so it has copies of them, which the library has to fill.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>
#include <gtest/gtest.h>

using namespace orbo::Data;

namespace {

TEST(LibraryData, IsTheProgramsToo) {
    EXPECT_EQ(IndexPair::myTypeName, "pair");
    EXPECT_EQ(IndexString::myTypeName, "string");
    EXPECT_TRUE(IndexPair::myRegistration.registered());
    EXPECT_TRUE(IndexString::myRegistration.registered());
}

}  // namespace
