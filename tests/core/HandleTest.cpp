// Typed access to elements, and their values as text.
// SPDX-License-Identifier: Apache-2.0
#include <data/ConstHandle.h>
#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstring>
#include <stdexcept>
#include <utility>

#include "core/HandleAccess.h"
#include "debug/Printed.h"
#include "support/Cases.h"

namespace orbo::Data {
namespace {

class HandleTest : public testing::Test {
  protected:
    // One member of the type, named "m".
    Handle handleOn(Member::eDataType type, unsigned int length = 1) {
        fStructure = RefPtr<Structure>(new Structure("S"));
        fStructure->addMember(type, length, "m");
        return Handle(*fStructure);
    }

    // "result | value after | messages"
    static std::string parse(Handle& handle, const std::string& text, unsigned int index = 0) {
        std::string errors;
        const unsigned int count = handle.fromStr(text, index, errors);
        return std::to_string(count) + " | " + handle.str(index) + " | " + errors;
    }

    RefPtr<Structure> fStructure;
};

TEST_F(HandleTest, ParsesOneValue) {
    for (const auto& row : rowsOf("core/data/values.txt")) {
        Handle handle = handleOn(Member::typeFromName(row.at(0).c_str()));
        EXPECT_EQ(parse(handle, row.at(1)), row.at(2) + " | " + row.at(3) + " | " + row.at(4));
    }
}

TEST_F(HandleTest, ParsesMatricesNumberByNumber) {
    Handle handle = handleOn(Member::kFloatMatrix4x4, 2);
    const std::string numbers = "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16";
    EXPECT_EQ(parse(handle, numbers, 1), "0 | " + numbers + " | ");
    EXPECT_EQ(handle.asFloatMatrix4x4()[16 + 5], 6);
    EXPECT_EQ(parse(handle, "1e99 2 3 4 5 6 7 8 9 10 11 12 13 14 15 1e99 "),
              "2 | 3.40282e+38 2 3 4 5 6 7 8 9 10 11 12 13 14 15 3.40282e+38 | "
              "Float matrix on or about character 0 has invalid value at row 0, column 0\n"
              "Float matrix on or about character 0 has invalid value at row 3, column 3\n");
}

TEST_F(HandleTest, WithoutDataOrMemberThereIsAnAnswerToo) {
    std::string texts;
    for (int i = 0; i < Member::kInvalid; ++i) {
        handleOn(static_cast<Member::eDataType>(i), 2);
        Handle handle(*fStructure, nullptr);
        EXPECT_NE(parse(handle, "1").find(" | Data not recognized as a "), std::string::npos) << i;
        EXPECT_EQ(parse(handle, "1", 2),
                  "1 |  | Trying to parse element 2 when the member m only has dimension 2\n");
        EXPECT_FALSE(handle.isDefault());
        texts += handle.str(0).substr(0, 7) + '|';
    }
    EXPECT_EQ(texts, "false|0.0|0.0 0.0|0.0|0.0 0.0|0|0|0|0||0|0|0|0|");

    Handle handle = handleOn(Member::kInt32);
    EXPECT_TRUE(handle.asInt32() && !handle.asFloat()) << "no conversion";
    EXPECT_FALSE(handle.setPositionByMemberName(nullptr) || handle.setPositionByMemberIndex(1));
    EXPECT_FALSE(handle.setPositionByMemberName("M") || handle.asInt32());
    Handle none;
    EXPECT_THROW((void)none.str(0), std::out_of_range);
    EXPECT_THROW(parse(handle, "1"), std::out_of_range) << "behind the last member";
    EXPECT_THROW((void)ConstHandle(handle).str(0), std::out_of_range);
    EXPECT_FALSE(none.setPositionByMemberIndex(0) || none.asInt32());
    EXPECT_TRUE(none.makeUnique() && !none.makeUnique());
}

TEST_F(HandleTest, ToReadOnlySaysTheSame) {
    for (int i = 0; i < Member::kInvalid; ++i) {
        Handle handle = handleOn(static_cast<Member::eDataType>(i), 2);
        parse(handle, "1", 1);
        ConstHandle constant(handle);
        EXPECT_EQ(constant.str(0) + constant.str(1), handle.str(0) + handle.str(1)) << i;
        EXPECT_EQ(constant.asType(constant.dataType()), handle.asType(handle.dataType()));
        EXPECT_EQ(constant.isDefault(), handle.isDefault());
        EXPECT_TRUE(constant.hasData() && constant.usesStructure(*fStructure));
        EXPECT_EQ(constant.dataLength(), 2U);
        EXPECT_EQ(constant.asInt32() != nullptr, i == Member::kInt32) << "no conversion";
        EXPECT_FALSE(constant.setPositionByMemberName(nullptr));
        EXPECT_FALSE(constant.setPositionByMemberIndex(1) || constant.asType(Member::kInvalid));
        EXPECT_TRUE(constant.setPositionByMemberName("m") && constant.dataLength() == 2);
    }
    ConstHandle none;
    EXPECT_FALSE(none.hasData() || none.isDefault() || none.isDefaultMember("m"));
    EXPECT_FALSE(none.setPositionByMemberIndex(0) || none.setPositionByMemberName("m"));
    EXPECT_THROW((void)none.dataType(), std::out_of_range);
}

TEST_F(HandleTest, CopiesShareAndMovesHandOver) {
    Handle owner = handleOn(Member::kString);
    parse(owner, "text");
    char* chunk = HandleAccess::data(owner);
    Handle borrowed(owner);
    EXPECT_EQ(borrowed.asString(), owner.asString());
    EXPECT_TRUE(borrowed.makeUnique() && !borrowed.makeUnique());
    EXPECT_NE(borrowed.asString(), owner.asString());
    EXPECT_EQ(borrowed.str(0), "text");

    Handle& self = owner;
    owner = self;
    owner = Handle(owner);
    const Handle shares(owner);
    owner = shares;
    owner.pointToData(chunk, true);
    EXPECT_EQ(owner.str(0), "text") << "it never freed its own chunk";
    Handle moved(std::move(owner));
    EXPECT_FALSE(moved.makeUnique()) << "it owns the chunk";
    borrowed = std::move(moved);
    Handle other(*fStructure);
    other.swap(borrowed);
    EXPECT_EQ(HandleAccess::data(other), chunk);
}

// A chunk is read and freed by the members it was made with.
TEST_F(HandleTest, OutlivesChangesOfItsStructure) {
    Handle handle = handleOn(Member::kString);
    parse(handle, "kept");
    fStructure->addMember(Member::kDoubleMatrix4x4, 4, "late");
    EXPECT_FALSE(handle.setPositionByMemberName("late"));
    handle.pointToData(HandleAccess::data(handle), true);
    EXPECT_FALSE(handle.setPositionByMemberIndex(1)) << "the same block, with what it has";
    handle.setPositionByMemberName("m");
    EXPECT_FALSE(handle.setPositionByMemberIndex(4294967295U));
    handle.setPositionByMemberName("m");
    EXPECT_EQ(handle.str(0), "kept");
    Handle noBlock(*fStructure, nullptr);
    fStructure->addMember(Member::kInt8, 1, "later");
    EXPECT_TRUE(noBlock.setPositionByMemberName("later")) << "no block to protect";
    EXPECT_EQ(Member::objectsAlive(), 1U + 3) << "the old layout and the present one";
    Handle unique(handle);
    const RefPtr<Structure> other(new Structure("other"));
    other->addMember(Member::kInt8, 1, "m");
    *fStructure = *other;
    EXPECT_TRUE(unique.makeUnique());
    EXPECT_EQ(handle.str(0) + unique.str(0), "keptkept");
}

TEST_F(HandleTest, DumpsItsMember) {
    Handle handle = handleOn(Member::kInt16, 2);
    handle.asInt16()[1] = 0x0a0b;
    const std::string values = "2 elements: [ 0 2571 ]";
    EXPECT_EQ(Debug::printed(&handle), values);
    EXPECT_EQ(Debug::printed(&handle, "type"), "int16 " + values);
    const std::string hex = Debug::printed(&handle, "hex");
    EXPECT_EQ(hex.find(values + "(0x0x"), 0U) << hex;
    EXPECT_EQ(hex.substr(hex.find(") ")), ")  00 00  0b 0a ");
}

// Somebody will want to "fix" these: everything here is as users of the formats know it.
TEST_F(HandleTest, OddButRequired) {
    Handle strings = handleOn(Member::kString, 2);
    EXPECT_EQ(parse(strings, "second", 1), "0 |  | ") << "value 0 decides";
    parse(strings, "first");
    EXPECT_EQ(strings.str(1), "second");

    // No structure takes such a member; the message is there all the same, and is no error.
    const RefPtr<Layout> odd(new Layout);
    odd->add(Member::kInvalid, 1, "odd");
    char block[1] = {};
    Handle invalid = HandleAccess::borrow(*fStructure, *odd, block);
    EXPECT_EQ(parse(invalid, "1"), "0 | ? | Invalid type 14 in structure.\n");
}

}  // namespace
}  // namespace orbo::Data
