// Members, layouts, chunks, the registry.
// SPDX-License-Identifier: Apache-2.0
#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/RefPtr.h>

#include <cmath>
#include <cstring>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/StructureRegistry.h"
#include "debug/Printed.h"

namespace orbo::Data {
namespace {

using M = Member;
using Fields = std::vector<std::pair<Member::eDataType, unsigned int>>;

// Members "a", "b" and so on.
RefPtr<Structure> make(const char* name, const Fields& fields) {
    RefPtr<Structure> structure(new Structure(name));
    char member[] = "a";
    for (const auto& [type, length] : fields) {
        EXPECT_TRUE(structure->addMember(type, length, member));
        ++member[0];
    }
    return structure;
}

TEST(StructureTest, MembersArePlacedInOrderAndTheFirstOnesAlignmentRoundsTheSize) {
    const std::pair<Fields, const char*> rows[] = {
        {{}, "size 0"},
        {{{M::kInt32, 1}, {M::kFloat, 3}}, "0 4 size 16"},
        {{{M::kDouble, 1}, {M::kBoolean, 1}}, "0 8 size 16"},
        {{{M::kBoolean, 1}, {M::kBoolean, 1}, {M::kInt16, 1}}, "0 1 2 size 4"},
        {{{M::kInt8, 1}, {M::kInt16, 1}, {M::kInt8, 1}}, "0 2 4 size 5"},
        {{{M::kUInt8, 1}, {M::kFloatMatrix4x4, 2}, {M::kString, 1}}, "0 4 136 size 144"},
        {{{M::kDoubleMatrix4x4, ~0U}, {M::kUInt8, 1}}, "0 549755813760 size 549755813768"},
    };
    for (const auto& [fields, expected] : rows) {
        const auto structure = make("S", fields);
        std::string placed;
        for (const Member& member : *structure) placed += std::to_string(member.offset()) + ' ';
        EXPECT_EQ(placed + "size " + std::to_string(structure->totalSize()), expected);
    }
}

TEST(StructureTest, FindsMembersByNameAndByPlace) {
    // From 16 members on, another search finds them.
    for (const std::size_t count : {2U, 20U}) {
        const auto structure = make("S", Fields(count, {M::kInt16, 1}));
        const Structure& fixed = *structure;
        ASSERT_TRUE(fixed.member("b") && fixed.member(1));
        EXPECT_EQ(fixed.member("b"), fixed.member(1));
        EXPECT_EQ(fixed.member(std::string_view("bx").substr(0, 1)), fixed.member(1));
        EXPECT_EQ(fixed.member(0)->offset(), 0U);
        EXPECT_EQ(fixed.member(static_cast<unsigned int>(count)), nullptr);
        for (const char* name : {"", "z", static_cast<const char*>(nullptr)})
            EXPECT_EQ(fixed.member(name), nullptr);
        EXPECT_EQ(fixed.member(std::string_view("b\0", 2)), nullptr);
    }
}

TEST(StructureTest, RefusesMembersThatCannotBe) {
    const auto structure = make("S", {{M::kInt32, 1}});
    const auto stamp = structure->checkpoint();
    for (const int type : {14, 99, -1}) {
        EXPECT_FALSE(structure->addMember(static_cast<M::eDataType>(type), 1, "x")) << type;
    }
    EXPECT_FALSE(structure->addMember(M::kInt32, 0, "x"));
    for (const char* name : {"a", "", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(structure->addMember(M::kFloat, 1, name));
    }
    EXPECT_EQ(structure->checkpoint(), stamp);
    EXPECT_TRUE(structure->addMember(M::kFloat, 1, "A"));
}

TEST(StructureTest, ManyMembersKeepTheirNames) {
    const auto structure = make("S", {});
    const auto add = [](const RefPtr<Structure>& to, int i) {
        return to->addMember(M::kInt8, 1, ("m" + std::to_string(i)).c_str());
    };
    for (int i = 0; i < 3000; ++i) ASSERT_TRUE(add(structure, i));
    const RefPtr<Structure> copy(new Structure(*structure));
    for (const int i : {0, 1234, 2999}) EXPECT_FALSE(add(structure, i) || add(copy, i)) << i;
    EXPECT_TRUE(*copy == *structure);
    EXPECT_TRUE(add(copy, 3000));
    EXPECT_TRUE(*copy != *structure);
}

TEST(StructureTest, NamesAndCopiesAreIndependent) {
    const auto structure = make("a name", {{M::kInt32, 1}});
    structure->setName(structure->name() + 2);
    EXPECT_STREQ(structure->name(), "name");
    structure->setName(nullptr);
    EXPECT_STREQ(structure->name(), "structure");
    const auto other = make("other", {{M::kFloat, 3}, {M::kString, 1}});
    EXPECT_NE(other->defaultData(), nullptr);
    *structure = *other;
    EXPECT_TRUE(*structure == *other);
    other->setName("renamed");
    EXPECT_TRUE(*structure != *other);
}

TEST(StructureTest, ChangesTickTheCheckpoint) {
    const auto start = Checkpointed::globalCheckpoint();
    const auto ticks = [start] { return Checkpointed::globalCheckpoint() - start; };
    const RefPtr<Structure> a(Structure::create());
    EXPECT_EQ(ticks(), 1U);
    RefPtr<Structure> b(new Structure(*a));
    EXPECT_EQ(ticks(), 3U);
    *b = *a;
    b->setName("b");
    b->addMember(M::kInt8, 1, "m");
    EXPECT_EQ(ticks(), 6U);
    b = RefPtr<Structure>();
    *a = *a.get();
    EXPECT_EQ(ticks(), 7U) << "not assigned to itself";
}

TEST(StructureTest, ChunksAreComparedAsNumbersCopiedDeeplyAndFreed) {
    const auto structure = make("S", {{M::kFloat, 1}, {M::kString, 2}, {M::kDoubleMatrix4x4, 1}});
    char* chunk = structure->allocateDefaultChunk();
    auto& number = reinterpret_cast<float&>(*chunk);
    number = -0.0F;
    EXPECT_TRUE(structure->chunkIsDefault(chunk));
    number = std::nanf("");
    EXPECT_FALSE(structure->chunkMemberIsDefault(chunk, "a"));
    reinterpret_cast<double*>(chunk + 24)[15] = 1;
    EXPECT_FALSE(structure->chunkMemberIsDefault(chunk, "c"));
    EXPECT_TRUE(structure->chunkMemberIsDefault(chunk, "no such member"));
    EXPECT_FALSE(structure->chunkMemberIsDefault(nullptr, "a"));
    reinterpret_cast<char**>(chunk + 8)[1] = ::strdup("");
    char* copy = structure->duplicateChunk(chunk);
    for (char* each : {chunk, copy}) {
        EXPECT_FALSE(structure->chunkMemberIsDefault(each, "b")) << "empty is not null";
        EXPECT_TRUE(structure->destroyChunk(each));
        EXPECT_TRUE(structure->chunkMemberIsDefault(each, "b"));
        std::free(each);
    }
}

// The kept default block is that of its day; nobody reads behind its end.
TEST(StructureTest, MembersAddedAfterTheDefaultBlockWasBuiltAreSafe) {
    const auto structure = make("S", {{M::kInt8, 1}});
    const char* early = structure->defaultData();
    structure->addMember(M::kDoubleMatrix4x4, 9, "late");
    EXPECT_EQ(structure->defaultData(), early);
    EXPECT_TRUE(Handle(*structure).isDefault());
    EXPECT_THAT(Debug::printed(structure.get()),
                testing::HasSubstr("    00 -- -- -- -- -- -- --   -- --"));
    Debug::Footprint footprint;
    Structure::Debug(structure.get(), footprint);
    EXPECT_EQ(footprint.totalSize(),
              sizeof(Structure) + 2 * sizeof(Member) + sizeof "a" + sizeof "late" + sizeof "S" + 1);
}

class RegistryTest : public testing::Test {
    StructureRegistry::SetAside fOwnRegistry;
};

TEST_F(RegistryTest, HoldsOneOfEachContentAndFindsByName) {
    const auto a = make("A", {{M::kInt32, 1}});
    const auto equal = make("A", {{M::kInt32, 1}});
    const auto wider = make("A", {{M::kInt64, 1}});
    const auto& find = Structure::structureByName;
    EXPECT_TRUE(Structure::registerStructure(*a));
    EXPECT_FALSE(Structure::registerStructure(*a) || Structure::registerStructure(*equal));
    EXPECT_TRUE(Structure::registerStructure(*wider));
    EXPECT_EQ(a->refCount(), 2);
    EXPECT_EQ(find("A"), std::min(a.get(), wider.get()));
    EXPECT_EQ(find("a"), nullptr);
    wider->setName("W");
    EXPECT_TRUE(find("A") == a.get() && find("W") == wider.get()) << "names as they are now";
    *wider = *equal;
    EXPECT_EQ(find("W"), nullptr);
    {
        StructureRegistry::SetAside aside;
        EXPECT_EQ(find("A"), nullptr);
        EXPECT_TRUE(Structure::registerStructure(*equal));
    }
    EXPECT_TRUE(Structure::deregisterStructure(*a));
    EXPECT_FALSE(Structure::deregisterStructure(*a));
    EXPECT_EQ(find("A"), wider.get());
    Structure::deleteAllStructures();
    EXPECT_TRUE(Structure::allStructures().empty());
    EXPECT_EQ(wider->refCount() + equal->refCount(), 2);
}

TEST_F(RegistryTest, IsDumpedBehindTheTypesThatThereAre) {
    using testing::EndsWith;
    const auto dump = [] { return Debug::printed<Structure>(nullptr); };
    EXPECT_THAT(dump(), testing::HasSubstr("[0] = bool, size = 1bytes, alignment = 1bytes\n"));
    EXPECT_THAT(dump(), EndsWith("[14] = invalid\n    }\n    No registered structures\n}\n"));
    const auto item = make("Item", {{M::kInt32, 2}});
    Structure::registerStructure(*item);
    EXPECT_THAT(dump(), EndsWith("    Registered Structures\n    {\n        Structure[0]\n        "
                                 "{\n            RefCount : 2\n            Structure 'Item'\n"
                                 "            Total Size = 8\n            Member List\n"
                                 "            {\n                Member[0] = 'a' int32[2] +0\n"
                                 "            }\n            No default values provided\n"
                                 "        }\n    }\n}\n"));
}

// The time limit of a test is what a table rebuilt for each of them would run into.
TEST_F(RegistryTest, ManyStructuresAreRegisteredAndFound) {
    for (int i = 0; i < 20000; ++i) {
        const std::string name = "S" + std::to_string(i);
        const RefPtr<Structure> structure(new Structure(name.c_str()));
        ASSERT_TRUE(Structure::registerStructure(*structure));
        ASSERT_EQ(Structure::structureByName(name.c_str()), structure.get());
    }
}

TEST(StructureIteratorTest, WalksAndWrapsAndThrows) {
    const auto structure = make("S", {{M::kInt32, 1}, {M::kFloat, 1}});
    StructureIterator it = structure->begin();
    const StructureIterator first = it++;
    EXPECT_EQ(first.index(), 0U);
    EXPECT_STREQ(it->name(), "b");
    EXPECT_TRUE(++it == structure->end() && !it.valid());
    EXPECT_THAT([&] { (void)*it; }, testing::ThrowsMessage<std::out_of_range>("Member"));
    EXPECT_THAT([&] { (void)std::as_const(it)->name(); },
                testing::ThrowsMessage<std::out_of_range>("Const Member"));
    EXPECT_TRUE(++it == structure->begin()) << "behind the end is the start again";

    const StructureIterator ofItsOwn;
    StructureIterator another;
    EXPECT_FALSE(ofItsOwn == another);
    EXPECT_TRUE(StructureIterator(ofItsOwn) == ofItsOwn);
    EXPECT_FALSE((++another).valid());
    another = first;
    EXPECT_EQ(Debug::printed(&another), "Structure Iterator for S at index 0\n");
    EXPECT_EQ(Debug::printed<StructureIterator>(nullptr),
              "orbo::Data::StructureIterator Static Data, invalid member = 4294967295\n");
}

TEST(MemberTest, TypesAndNullAnswers) {
    EXPECT_EQ(M::typeFromName("flt4x4"), M::kFloatMatrix4x4);
    for (const char* none : {"Float", "float ", "", "invalid", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(M::typeFromName(none), M::kInvalid);
    }
    for (const auto none : {M::eDataType(14), M::eDataType(1000), M::eDataType(-1)}) {
        EXPECT_STREQ(M::typeName(none), "invalid");
        EXPECT_EQ(M::typeSize(none) + M::typeAlignment(none), 0);
    }
    EXPECT_TRUE(M::offset(nullptr) == ~0ULL && M::offset(nullptr, 3) == 0 &&
                M::type(nullptr) == M::kInvalid && M::length(nullptr) == 0 && !M::name(nullptr));
    const auto structure = make("S", {{M::kUInt8, 1}, {M::kDoubleMatrix4x4, 4}});
    Member member = *++structure->begin();
    const Member copy(member);
    Member& self = member;
    member = self;
    EXPECT_TRUE(copy == member && copy != Member());
    EXPECT_NE(copy.name(), member.name());
    EXPECT_EQ(member.offset(3), 8U + 3 * 128);
    EXPECT_EQ(member.offset(0x02000001U), 8U + 128) << "the distance wraps at 32 bits";
}

}  // namespace
}  // namespace orbo::Data
