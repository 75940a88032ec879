// Members, layouts, chunks, the registry.
// SPDX-License-Identifier: Apache-2.0
#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <sstream>
#include <stdexcept>
#include <utility>
#include <vector>

#include "core/StructureRegistry.h"

namespace orbo::Data {
namespace {

struct Field {
    Member::eDataType type;
    unsigned int length = 1;
};

RefPtr<Structure> make(const char* name, std::initializer_list<Field> fields) {
    RefPtr<Structure> structure(new Structure(name));
    char member[] = "a";
    for (const Field& field : fields) {
        EXPECT_TRUE(structure->addMember(field.type, field.length, member));
        ++member[0];
    }
    return structure;
}

std::string dump(const Structure* structure) {
    std::ostringstream out;
    Debug::Print print(out);
    EXPECT_TRUE(Structure::Debug(structure, print));
    return out.str();
}

TEST(StructureTest, MembersArePlacedInOrderAndTheFirstOnesAlignmentRoundsTheSize) {
    using M = Member;
    const struct {
        std::initializer_list<Field> fields;
        std::vector<unsigned long long> offsets;
        unsigned long long size;
    } rows[] = {
        {{}, {}, 0},
        {{{M::kInt32}, {M::kFloat, 3}}, {0, 4}, 16},
        {{{M::kDouble}, {M::kBoolean}}, {0, 8}, 16},
        {{{M::kBoolean}, {M::kBoolean}, {M::kInt16}}, {0, 1, 2}, 4},
        {{{M::kInt8}, {M::kInt16}, {M::kInt8}}, {0, 2, 4}, 5},
        {{{M::kUInt8}, {M::kFloatMatrix4x4, 2}, {M::kString}}, {0, 4, 136}, 144},
        {{{M::kDoubleMatrix4x4, ~0U}, {M::kUInt8}}, {0, 549755813760ULL}, 549755813768ULL},
    };
    for (const auto& row : rows) {
        const auto structure = make("S", row.fields);
        std::vector<unsigned long long> offsets;
        for (const Member& member : *structure) offsets.push_back(member.offset());
        EXPECT_EQ(offsets, row.offsets) << dump(structure.get());
        EXPECT_EQ(structure->totalSize(), row.size) << dump(structure.get());
    }
}

TEST(StructureTest, RefusesMembersThatCannotBe) {
    const auto structure = make("S", {{Member::kInt32}});
    const auto stamp = structure->checkpoint();
    for (const int type : {14, 99, -1}) {
        EXPECT_FALSE(structure->addMember(static_cast<Member::eDataType>(type), 1, "x"));
    }
    for (const char* name : std::initializer_list<const char*>{nullptr, "", "a"}) {
        EXPECT_FALSE(structure->addMember(Member::kFloat, 1, name));
    }
    EXPECT_FALSE(structure->addMember(Member::kInt32, 0, "x"));
    EXPECT_EQ(structure->checkpoint(), stamp);
    EXPECT_TRUE(structure->addMember(Member::kFloat, 1, "A"));
}

TEST(StructureTest, ManyMembersKeepTheirNames) {
    const auto structure = make("S", {});
    for (int i = 0; i < 3000; ++i) {
        ASSERT_TRUE(structure->addMember(Member::kInt8, 1, ("m" + std::to_string(i)).c_str()));
    }
    EXPECT_FALSE(structure->addMember(Member::kInt8, 1, "m0"));
    EXPECT_FALSE(structure->addMember(Member::kInt8, 1, "m2999"));
    const RefPtr<Structure> copy(new Structure(*structure));
    EXPECT_FALSE(copy->addMember(Member::kInt8, 1, "m1234"));
    EXPECT_TRUE(*copy == *structure);
    EXPECT_TRUE(copy->addMember(Member::kInt8, 1, "m3000"));
    EXPECT_TRUE(*copy != *structure);
}

TEST(StructureTest, NamesAndCopiesAreIndependent) {
    const auto structure = make("a name", {{Member::kInt32}});
    structure->setName(structure->name() + 2);
    EXPECT_STREQ(structure->name(), "name");
    structure->setName(nullptr);
    EXPECT_STREQ(structure->name(), "structure");

    const auto other = make("other", {{Member::kFloat, 3}, {Member::kString}});
    EXPECT_NE(other->defaultData(), nullptr);
    *structure = *other;
    Structure& self = *structure;
    *structure = self;
    EXPECT_TRUE(*structure == *other);
    EXPECT_NE(dump(structure.get()).find("Default Value Memory Block"), std::string::npos);
    other->setName("renamed");
    EXPECT_TRUE(*structure != *other);
    EXPECT_STREQ(structure->name(), "other");
}

TEST(StructureTest, ChangesTickTheCheckpoint) {
    RefPtr<Structure> a;
    RefPtr<Structure> b;
    std::string ticks;
    auto before = Checkpointed::globalCheckpoint();
    for (const std::function<void()>& change : std::initializer_list<std::function<void()>>{
             [&] { a = RefPtr<Structure>(Structure::create()); },
             [&] { b = RefPtr<Structure>(new Structure(*a)); }, [&] { *b = *a; },
             [&] { b->setName("b"); }, [&] { b->addMember(Member::kInt8, 1, "m"); },
             [&] { b = RefPtr<Structure>(); }, [&] { *a = *a.get(); }}) {
        change();
        const auto now = Checkpointed::globalCheckpoint();
        ticks += std::to_string(now - std::exchange(before, now));
    }
    EXPECT_EQ(ticks, "1211110");
}

TEST(StructureTest, ChunksAreCopiedDeeplyFreedAndComparedAsNumbers) {
    const auto structure =
        make("S", {{Member::kFloat}, {Member::kString, 2}, {Member::kDoubleMatrix4x4}});
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

    char** strings = reinterpret_cast<char**>(chunk + 8);
    strings[1] = ::strdup("");
    EXPECT_FALSE(structure->chunkMemberIsDefault(chunk, "b")) << "empty is not null";
    char* copy = structure->duplicateChunk(chunk);
    char** copied = reinterpret_cast<char**>(copy + 8);
    EXPECT_EQ(copied[0], nullptr);
    EXPECT_STREQ(copied[1], "");
    EXPECT_NE(copied[1], strings[1]);
    for (char* each : {chunk, copy}) {
        EXPECT_TRUE(structure->destroyChunk(each));
        EXPECT_TRUE(structure->chunkMemberIsDefault(each, "b"));
        std::free(each);
    }
}

// The kept default block is that of its day; nobody reads behind its end.
TEST(StructureTest, MembersAddedAfterTheDefaultBlockWasBuiltAreSafe) {
    const auto structure = make("S", {{Member::kInt8}});
    const char* early = structure->defaultData();
    structure->addMember(Member::kDoubleMatrix4x4, 9, "late");
    EXPECT_EQ(structure->defaultData(), early);
    EXPECT_TRUE(Handle(*structure).isDefault());
    EXPECT_NE(dump(structure.get()).find("    00 -- -- -- -- -- -- --   -- --"), std::string::npos);
    Debug::Footprint footprint;
    Structure::Debug(structure.get(), footprint);
    EXPECT_EQ(footprint.totalSize(),
              sizeof(Structure) + 2 * sizeof(Member) + sizeof "a" + sizeof "late" + sizeof "S" + 1);
}

class RegistryTest : public testing::Test {
    StructureRegistry::SetAside fOwnRegistry;
};

TEST_F(RegistryTest, HoldsOneOfEachContentAndFindsByName) {
    const auto a = make("A", {{Member::kInt32}});
    const auto equal = make("A", {{Member::kInt32}});
    const auto wider = make("A", {{Member::kInt64}});
    EXPECT_TRUE(Structure::registerStructure(*a));
    EXPECT_FALSE(Structure::registerStructure(*a));
    EXPECT_FALSE(Structure::registerStructure(*equal));
    EXPECT_TRUE(Structure::registerStructure(*wider));
    EXPECT_EQ(a->refCount(), 2);
    EXPECT_EQ(Structure::structureByName("A"), std::min(a.get(), wider.get()));
    EXPECT_EQ(Structure::structureByName("a"), nullptr);
    wider->setName("W");
    EXPECT_EQ(Structure::structureByName("A"), a.get()) << "names as they are now";
    EXPECT_EQ(Structure::structureByName("W"), wider.get());
    *wider = *equal;
    EXPECT_EQ(Structure::structureByName("W"), nullptr);
    {
        StructureRegistry::SetAside aside;
        EXPECT_EQ(Structure::structureByName("A"), nullptr);
        EXPECT_TRUE(Structure::registerStructure(*equal));
    }
    EXPECT_TRUE(Structure::deregisterStructure(*a));
    EXPECT_FALSE(Structure::deregisterStructure(*a));
    EXPECT_EQ(Structure::structureByName("A"), wider.get());
    Structure::deleteAllStructures();
    EXPECT_TRUE(Structure::allStructures().empty());
    EXPECT_EQ(wider->refCount() + equal->refCount(), 2);
}

TEST_F(RegistryTest, ManyStructuresAreRegisteredRenamedAndFound) {
    std::vector<RefPtr<Structure>> all;
    for (int i = 0; i < 20000; ++i) {
        all.emplace_back(new Structure(("S" + std::to_string(i)).c_str()));
        ASSERT_TRUE(Structure::registerStructure(*all.back()));
    }
    all[7]->setName("seven");
    for (int i = 0; i < 20000; i += 7) {
        const std::string name = i == 7 ? "seven" : "S" + std::to_string(i);
        ASSERT_EQ(Structure::structureByName(name.c_str()), all[static_cast<std::size_t>(i)].get());
    }
}

TEST(StructureIteratorTest, WalksAndWrapsAndThrows) {
    const auto structure = make("S", {{Member::kInt32}, {Member::kFloat}});
    StructureIterator it = structure->begin();
    const StructureIterator first = it++;
    EXPECT_EQ(first.index(), 0U);
    EXPECT_STREQ(it->name(), "b");
    EXPECT_TRUE(++it == structure->end() && !it.valid());
    const auto message = [](auto&& access) -> std::string {
        try {
            access();
        } catch (const std::out_of_range& error) {
            return error.what();
        }
        return "none";
    };
    EXPECT_EQ(message([&] { (void)*it; }), "Member");
    EXPECT_EQ(message([&] { (void)std::as_const(it)->name(); }), "Const Member");
    EXPECT_TRUE(++it == structure->begin()) << "behind the end is the start again";
}

TEST(StructureIteratorTest, DefaultsHaveStructuresOfTheirOwn) {
    const StructureIterator a;
    StructureIterator b;
    EXPECT_TRUE(a != b);
    EXPECT_TRUE(StructureIterator(a) == a);
    EXPECT_FALSE((++b).valid());
}

TEST(MemberTest, TypesAndNullAnswers) {
    EXPECT_EQ(Member::typeFromName("flt4x4"), Member::kFloatMatrix4x4);
    for (const char* none : {"Float", "float ", "", "invalid", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Member::typeFromName(none), Member::kInvalid);
    }
    for (const int none : {14, 1000, -1}) {
        const auto type = static_cast<Member::eDataType>(none);
        EXPECT_STREQ(Member::typeName(type), "invalid");
        EXPECT_EQ(Member::typeSize(type) + Member::typeAlignment(type), 0);
    }
    EXPECT_EQ(Member::offset(nullptr), ~0ULL);
    EXPECT_EQ(Member::offset(nullptr, 3), 0U);

    const auto structure = make("S", {{Member::kUInt8}, {Member::kDoubleMatrix4x4, 4}});
    Member member = *++structure->begin();
    const Member copy(member);
    Member& self = member;
    member = self;
    EXPECT_TRUE(copy == member);
    EXPECT_NE(copy.name(), member.name());
    EXPECT_TRUE(copy != Member());
    EXPECT_EQ(member.offset(3), 8U + 3 * 128);
    EXPECT_EQ(member.offset(0x02000001U), 8U + 128) << "the distance wraps at 32 bits";
}

}  // namespace
}  // namespace orbo::Data
