// What all accessors share, shown on one that reads no file at all.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/AccessorFactory.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace orbo::Data {
namespace {

RefPtr<Structure> makeStructure(const char* name) {
    RefPtr<Structure> structure(Structure::create());
    structure->setName(name);
    structure->addMember(Member::kInt32, 1, "m");
    return structure;
}

/// Does what the file name says.
class FakeAccessor : public Accessor {
  public:
    using Accessor::lastReadSucceeded;
    std::string seen;

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override {
        seen = std::string(structureNames ? "some" : "all") + (associationNames ? " some" : " all");
        EXPECT_TRUE(Structure::allStructures().empty());
        for (const char* name : {"B", "A", "a"}) {
            Structure::registerStructure(*makeStructure(name));
        }
        associations()["node"];
        if (fileName() == "throws.fake") throw std::runtime_error("format");
        if (fileName() != "fails.fake") return true;
        errors += "It failed.";
        return false;
    }
};

class AccessorTest : public testing::Test {
  protected:
    ~AccessorTest() override { Structure::deleteAllStructures(); }

    [[nodiscard]] std::string structures() const {
        std::string names;
        for (const Structure* structure : fAccessor.structures()) names += structure->name();
        return names;
    }

    FakeAccessor fAccessor;
    std::string fErrors;
};

TEST_F(AccessorTest, ReadTakesAllOrNothingAndLeavesTheCallersAlone) {
    const RefPtr<Structure> callers = makeStructure("A");
    ASSERT_TRUE(Structure::registerStructure(*callers));
    const auto before = Structure::allStructures();
    for (const std::string name : {"x.fake", "fails.fake", "x.fake", "throws.fake"}) {
        SCOPED_TRACE(name);
        const bool good = name == "x.fake";
        try {
            EXPECT_EQ(fAccessor.read(name, fErrors), good);
        } catch (const std::runtime_error&) {
            EXPECT_EQ(name, "throws.fake");
        }
        EXPECT_EQ(fAccessor.fileName(), name);
        EXPECT_EQ(structures(), good ? "ABa" : "") << "byte by byte";
        EXPECT_EQ(fAccessor.associations().size(), good ? 1U : 0U);
        EXPECT_EQ(fAccessor.lastReadSucceeded(), good);
        EXPECT_EQ(Structure::allStructures(), before);
        for (const Structure* structure : fAccessor.structures()) {
            EXPECT_EQ(structure->refCount(), 1);
        }
    }
    EXPECT_FALSE(fAccessor.write(fErrors));
    EXPECT_EQ(fErrors, std::string("It failed.\n") + typeid(fAccessor).name() +
                           " does not implement orbo::Data::Accessor::write");
    EXPECT_TRUE(fAccessor.isFileSupported("anything"));
    EXPECT_EQ(fAccessor.seen, "all all");
    const std::set<std::string> none;
    ASSERT_TRUE(fAccessor.read("x.fake", &none, nullptr, fErrors));
    ASSERT_TRUE(fAccessor.read(fAccessor.fileName(), &none, nullptr, fErrors));
    EXPECT_EQ(fAccessor.seen, "some all");
}

TEST_F(AccessorTest, SetStructuresIsAllOrNothing) {
    const RefPtr<Structure> a = makeStructure("A");
    const RefPtr<Structure> b = makeStructure("B");
    fAccessor.setStructures({a.get(), b.get()});
    fAccessor.setStructures(fAccessor.structures());
    EXPECT_EQ(a->refCount(), 2);
    EXPECT_THROW(fAccessor.setStructures({nullptr}), std::invalid_argument) << "never compared";
    EXPECT_THROW((void)Accessor::StructureSet({a.get(), nullptr}), std::invalid_argument);
    EXPECT_EQ(structures(), "AB");
    fAccessor.clear();
    EXPECT_EQ(structures(), "");
    EXPECT_EQ(a->refCount(), 1);
}

TEST(AccessorFactory, FirstOneKeepsTheExtensionAsLongAsItLives) {
    std::string errors;
    const auto serves = [](const char* name) {
        EXPECT_EQ(Accessor::supportedExtensions().count(""), 0U);
        return Accessor::accessorByExtension(name) != nullptr;
    };
    EXPECT_FALSE(serves("fake"));
    {
        AccessorFactory<FakeAccessor> first("FaKe");
        { AccessorFactory<FakeAccessor> second("FAKE"); }
        AccessorFactory<FakeAccessor> none("");
        for (const char* name : {"x.fake", "X.FAKE", "fake", ".fake", "a.b.fake"})
            EXPECT_TRUE(serves(name)) << name;
        for (const char* name : {"x.fake.", "", "x.fake/y", "x.fak"})
            EXPECT_FALSE(serves(name)) << name;
        EXPECT_EQ(Accessor::supportedExtensions().count("fake"), 1U);
        EXPECT_TRUE(Accessor::readFile("x.fake", errors));
        EXPECT_FALSE(Accessor::readFile("fails.fake", errors));
    }
    EXPECT_FALSE(serves("fake"));
    EXPECT_FALSE(Accessor::readFile("x.fake", errors));
    EXPECT_EQ(errors, "It failed.\nNo factory registered for type of file \"x.fake\"");
}

}  // namespace
}  // namespace orbo::Data
