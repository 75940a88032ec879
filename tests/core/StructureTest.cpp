// Members, layouts, chunks, the registry.
// SPDX-License-Identifier: Apache-2.0
#include <data/Structure.h>
#include <debug/Count.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <sstream>
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

struct LayoutRow {
    const char* name;
    std::initializer_list<Field> fields;
    std::vector<unsigned long long> offsets;
    unsigned long long size;
};

TEST(StructureTest, MembersArePlacedInOrderAndTheFirstOnesAlignmentRoundsTheSize) {
    for (const LayoutRow& row : {
             LayoutRow{"empty", {}, {}, 0},
             {"int32, float[3]", {{Member::kInt32}, {Member::kFloat, 3}}, {0, 4}, 16},
             {"bool, double", {{Member::kBoolean}, {Member::kDouble}}, {0, 8}, 16},
             {"double, bool", {{Member::kDouble}, {Member::kBoolean}}, {0, 8}, 16},
             {"bool, bool, int16",
              {{Member::kBoolean}, {Member::kBoolean}, {Member::kInt16}},
              {0, 1, 2},
              4},
             {"int8, int16, int8",
              {{Member::kInt8}, {Member::kInt16}, {Member::kInt8}},
              {0, 2, 4},
              5},
             {"uint8, flt4x4[2], string",
              {{Member::kUInt8}, {Member::kFloatMatrix4x4, 2}, {Member::kString}},
              {0, 4, 136},
              144},
             {"beyond 32 bits",
              {{Member::kDoubleMatrix4x4, 4294967295U}, {Member::kUInt8}},
              {0, 549755813760ULL},
              549755813768ULL},
         }) {
        const auto structure = make("S", row.fields);
        std::vector<unsigned long long> offsets;
        for (const Member& member : *structure) offsets.push_back(member.offset());
        EXPECT_EQ(offsets, row.offsets) << row.name;
        EXPECT_EQ(structure->totalSize(), row.size) << row.name;
        EXPECT_EQ(structure->size(), row.offsets.size()) << row.name;
    }
}

TEST(StructureTest, RefusesMembersThatCannotBe) {
    const auto structure = make("S", {{Member::kInt32}});
    const auto stamp = structure->checkpoint();
    EXPECT_FALSE(structure->addMember(Member::kInvalid, 1, "x"));
    EXPECT_FALSE(structure->addMember(static_cast<Member::eDataType>(99), 1, "x"));
    EXPECT_FALSE(structure->addMember(static_cast<Member::eDataType>(-1), 1, "x"));
    EXPECT_FALSE(structure->addMember(Member::kInt32, 0, "x"));
    EXPECT_FALSE(structure->addMember(Member::kInt32, 1, nullptr));
    EXPECT_FALSE(structure->addMember(Member::kInt32, 1, ""));
    EXPECT_FALSE(structure->addMember(Member::kFloat, 1, "a"));
    EXPECT_EQ(structure->checkpoint(), stamp);
    EXPECT_TRUE(structure->addMember(Member::kFloat, 1, "A"));
    EXPECT_GT(structure->checkpoint(), stamp);
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
    structure->setName(structure->name());
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
    const auto ticks = [](auto&& change) {
        const auto before = Checkpointed::globalCheckpoint();
        change();
        return Checkpointed::globalCheckpoint() - before;
    };
    RefPtr<Structure> a;
    RefPtr<Structure> b;
    EXPECT_EQ(ticks([&] { a = RefPtr<Structure>(Structure::create()); }), 1U);
    EXPECT_EQ(ticks([&] { b = RefPtr<Structure>(new Structure(*a)); }), 2U);
    EXPECT_EQ(ticks([&] { *b = *a; }), 1U);
    EXPECT_EQ(ticks([&] { b->setName("b"); }), 1U);
    EXPECT_EQ(ticks([&] { b->addMember(Member::kInt8, 1, "m"); }), 1U);
    EXPECT_EQ(ticks([&] { b = RefPtr<Structure>(); }), 1U);
    EXPECT_EQ(ticks([&] { *a = *a.get(); }), 0U);
}

TEST(StructureTest, ChunksAreCopiedDeeplyAndFreed) {
    const auto structure = make("S", {{Member::kInt32}, {Member::kString, 2}});
    char* chunk = structure->allocateDefaultChunk();
    EXPECT_TRUE(structure->chunkIsDefault(chunk));
    char** strings = reinterpret_cast<char**>(chunk + 8);
    strings[1] = ::strdup("text");
    char* copy = structure->duplicateChunk(chunk);
    char** copied = reinterpret_cast<char**>(copy + 8);
    EXPECT_EQ(copied[0], nullptr);
    EXPECT_STREQ(copied[1], "text");
    EXPECT_NE(copied[1], strings[1]);
    EXPECT_FALSE(structure->chunkIsDefault(copy));
    EXPECT_TRUE(structure->chunkMemberIsDefault(copy, "a"));
    EXPECT_FALSE(structure->chunkMemberIsDefault(copy, "b"));
    EXPECT_TRUE(structure->chunkMemberIsDefault(copy, "no such member"));
    EXPECT_FALSE(structure->chunkMemberIsDefault(nullptr, "a"));

    EXPECT_TRUE(structure->destroyChunk(copy));
    EXPECT_TRUE(structure->chunkIsDefault(copy));
    structure->destroyChunk(chunk);
    std::free(chunk);
    std::free(copy);
}

TEST(StructureTest, DefaultsAreComparedAsNumbers) {
    const auto structure =
        make("S", {{Member::kFloat}, {Member::kString}, {Member::kDoubleMatrix4x4}});
    char* chunk = structure->allocateDefaultChunk();
    float& number = *reinterpret_cast<float*>(chunk);
    number = -0.0F;
    EXPECT_TRUE(structure->chunkMemberIsDefault(chunk, "a"));
    number = std::nanf("");
    EXPECT_FALSE(structure->chunkMemberIsDefault(chunk, "a"));
    reinterpret_cast<char**>(chunk + 8)[0] = ::strdup("");
    EXPECT_FALSE(structure->chunkMemberIsDefault(chunk, "b")) << "empty is not null";
    reinterpret_cast<double*>(chunk + 16)[15] = 1;
    EXPECT_FALSE(structure->chunkMemberIsDefault(chunk, "c"));
    structure->destroyChunk(chunk);
    std::free(chunk);
}

// The kept default block is that of its day; nobody reads behind its end.
TEST(StructureTest, MembersAddedAfterTheDefaultBlockWasBuiltAreSafe) {
    const auto structure = make("S", {{Member::kInt8}});
    const char* early = structure->defaultData();
    structure->addMember(Member::kDoubleMatrix4x4, 9, "late");
    EXPECT_EQ(structure->defaultData(), early);
    char* chunk = structure->allocateDefaultChunk();
    EXPECT_TRUE(structure->chunkIsDefault(chunk));
    std::free(chunk);
    EXPECT_NE(dump(structure.get()).find("    00 -- -- -- -- -- -- --   -- --"), std::string::npos);
    Debug::Footprint footprint;
    Structure::Debug(structure.get(), footprint);
    EXPECT_EQ(footprint.totalSize(),
              sizeof(Structure) + 2 * sizeof(Member) + sizeof "a" + sizeof "late" + sizeof "S" + 1);
    EXPECT_EQ(footprint.totalFragments(), 1U + 4 + 1 + 1);
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
    EXPECT_EQ(Structure::structureByName(nullptr), nullptr);
    EXPECT_EQ(Structure::structureByName("a"), nullptr);

    wider->setName("W");
    EXPECT_EQ(Structure::structureByName("A"), a.get()) << "names as they are now";
    EXPECT_EQ(Structure::structureByName("W"), wider.get());
    *wider = *equal;
    EXPECT_EQ(Structure::structureByName("W"), nullptr);

    EXPECT_TRUE(Structure::deregisterStructure(*a));
    EXPECT_FALSE(Structure::deregisterStructure(*a));
    EXPECT_EQ(Structure::structureByName("A"), wider.get());
    Structure::deleteAllStructures();
    EXPECT_TRUE(Structure::allStructures().empty());
    EXPECT_EQ(wider->refCount(), 1);
}

TEST_F(RegistryTest, TheLastReferenceMayBeTheRegistrys) {
    const auto alive = Structure::objectsAlive();
    Structure* structure = Structure::create();
    Structure::registerStructure(*structure);
    EXPECT_EQ(Structure::objectsAlive(), alive + 1);
    Structure::deregisterStructure(*structure);
    EXPECT_EQ(Structure::objectsAlive(), alive);
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

TEST_F(RegistryTest, ASetAsideRegistryComesBack) {
    const auto mine = make("S", {{Member::kInt32}});
    Structure::registerStructure(*mine);
    {
        StructureRegistry::SetAside aside;
        EXPECT_EQ(Structure::structureByName("S"), nullptr);
        EXPECT_TRUE(Structure::registerStructure(*make("S", {{Member::kInt32}})));
    }
    EXPECT_EQ(Structure::structureByName("S"), mine.get());
}

TEST(StructureIteratorTest, WalksAndWrapsAndThrows) {
    const auto structure = make("S", {{Member::kInt32}, {Member::kFloat}});
    StructureIterator it = structure->begin();
    EXPECT_STREQ(it->name(), "a");
    const StructureIterator first = it++;
    EXPECT_EQ(first.index(), 0U);
    EXPECT_EQ((*it).type(), Member::kFloat);
    EXPECT_TRUE(++it == structure->end());
    EXPECT_FALSE(it.valid());
    const auto message = [](auto&& access) {
        try {
            access();
        } catch (const std::out_of_range& error) {
            return std::string(error.what());
        }
        return std::string("none");
    };
    EXPECT_EQ(message([&] { (void)*it; }), "Member");
    EXPECT_EQ(message([&] { (void)std::as_const(it)->name(); }), "Const Member");
    EXPECT_TRUE(++it == structure->begin()) << "behind the end is the start again";
    EXPECT_EQ(structure->refCount(), 3);
}

TEST(StructureIteratorTest, DefaultsHaveStructuresOfTheirOwn) {
    const StructureIterator a;
    StructureIterator b;
    EXPECT_TRUE(a != b);
    const StructureIterator copy(a);
    EXPECT_TRUE(copy == a);
    EXPECT_STREQ(a.structure().name(), "structure");
    EXPECT_TRUE(a != b);
    ++b;
    EXPECT_FALSE(b.valid());
    std::ostringstream out;
    Debug::Print print(out);
    StructureIterator::Debug(&b, print);
    StructureIterator::Debug(nullptr, print);
    EXPECT_EQ(out.str(),
              "Structure Iterator for structure at index 4294967295\n"
              "orbo::Data::StructureIterator Static Data, invalid member = 4294967295\n");
}

TEST(MemberTest, TypesAndNullAnswers) {
    EXPECT_EQ(Member::typeFromName("flt4x4"), Member::kFloatMatrix4x4);
    for (const char* none : {"Float", "float ", "", "invalid"}) {
        EXPECT_EQ(Member::typeFromName(none), Member::kInvalid);
    }
    EXPECT_EQ(Member::typeFromName(nullptr), Member::kInvalid);
    for (const int none : {14, 15, 1000, -1}) {
        const auto type = static_cast<Member::eDataType>(none);
        EXPECT_STREQ(Member::typeName(type), "invalid");
        EXPECT_EQ(Member::typeSize(type) + Member::typeAlignment(type), 0);
    }
    EXPECT_EQ(Member::offset(nullptr), ~0ULL);
    EXPECT_EQ(Member::offset(nullptr, 3), 0U);
    EXPECT_EQ(Member::type(nullptr), Member::kInvalid);

    const auto structure = make("S", {{Member::kUInt8}, {Member::kDoubleMatrix4x4, 4}});
    Member member = *++structure->begin();
    const Member copy(member);
    EXPECT_TRUE(copy == member);
    Member& self = member;
    member = self;
    EXPECT_TRUE(copy == member);
    EXPECT_NE(copy.name(), member.name());
    EXPECT_TRUE(Member() == Member());
    EXPECT_TRUE(copy != Member());
    EXPECT_EQ(member.offset(3), 8U + 3 * 128);
    EXPECT_EQ(member.offset(0x02000001U), 8U + 128) << "the distance wraps at 32 bits";
}

}  // namespace
}  // namespace orbo::Data
