// The visitor over the data types agrees with what members say of them.
// SPDX-License-Identifier: Apache-2.0
#include <data/MemberType.h>
#include <gtest/gtest.h>

#include <string>

namespace orbo::Data {
namespace {

static_assert(dataTypeOf<long>() == (sizeof(long) == 8 ? Member::kInt64 : Member::kInvalid));
static_assert(dataTypeOf<unsigned long>() ==
              (sizeof(long) == 8 ? Member::kUInt64 : Member::kInvalid));
static_assert(dataTypeOf<char>() == Member::kInvalid);
static_assert(dataTypeOf<std::string>() == Member::kInvalid);

TEST(MemberTypeTest, TheVisitorMeetsTheCppTypeOfEachDataType) {
    for (int number = 0; number < Member::kInvalid; ++number) {
        const auto type = static_cast<Member::eDataType>(number);
        const std::string name = Member::typeName(type);
        const bool isMatrix = name == "dbl4x4" || name == "flt4x4";
        visitMemberType(type, [&](auto visited) {
            using Scalar = typename decltype(visited)::Scalar;
            EXPECT_EQ(Member::typeSize(type), int{sizeof(Scalar)} * visited.kScalars) << name;
            EXPECT_EQ(Member::typeAlignment(type), int{alignof(Scalar)}) << name;
            EXPECT_EQ(visited.kScalars, isMatrix ? 16 : 1) << name;
            EXPECT_EQ(dataTypeOf<Scalar>() == type, !isMatrix) << name;
        });
    }
}

TEST(MemberTypeTest, TheVisitorIsNotCalledForWhatIsNotADataType) {
    for (const int number : {-1, int{Member::kInvalid}, 1000}) {
        const auto visit = [](auto) { return 1; };
        EXPECT_EQ(visitMemberType(static_cast<Member::eDataType>(number), visit), 0) << number;
    }
}

}  // namespace
}  // namespace orbo::Data
