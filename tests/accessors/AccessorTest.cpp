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

RefPtr<Structure> makeStructure(const char* name, Member::eDataType type = Member::kInt32) {
    RefPtr<Structure> structure(Structure::create());
    structure->setName(name);
    structure->addMember(type, 1, "m");
    return structure;
}

/// Does what the file name says.
class FakeAccessor : public Accessor {
  public:
    using Accessor::lastReadSucceeded;

  protected:
    bool readImplementation(const std::set<std::string>* structureNames,
                            const std::set<std::string>* associationNames,
                            std::string& errors) override {
        seen = std::string(structureNames ? "some" : "all") + (associationNames ? " some" : " all");
        registryWasEmpty = Structure::allStructures().empty();
        for (const char* name : {"B", "A", "a"}) {
            Structure::registerStructure(*makeStructure(name));
        }
        associations()["node"];
        if (fileName() == "throws.fake") throw std::runtime_error("format");
        if (fileName() != "fails.fake") return true;
        errors += "It failed.";
        return false;
    }

  public:
    std::string seen;
    bool registryWasEmpty = false;
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

TEST_F(AccessorTest, ReadTakesTheStructuresOverAndLeavesTheCallersAlone) {
    const RefPtr<Structure> callers = makeStructure("A", Member::kDouble);
    ASSERT_TRUE(Structure::registerStructure(*callers));
    const auto before = Structure::allStructures();

    ASSERT_TRUE(fAccessor.read("x.fake", fErrors));
    EXPECT_TRUE(fAccessor.registryWasEmpty);
    EXPECT_EQ(structures(), "ABa") << "byte by byte";
    EXPECT_EQ(Structure::allStructures(), before);
    EXPECT_EQ(Structure::structureByName("A"), callers.get());
    for (const Structure* structure : fAccessor.structures()) EXPECT_EQ(structure->refCount(), 1);
    EXPECT_EQ(fAccessor.seen, "all all");

    const std::set<std::string> none;
    ASSERT_TRUE(fAccessor.read(fAccessor.fileName(), &none, nullptr, fErrors));
    EXPECT_EQ(fAccessor.seen, "some all");
}

TEST_F(AccessorTest, FailedReadLeavesItEmpty) {
    const RefPtr<Structure> callers = makeStructure("A");
    Structure::registerStructure(*callers);
    const auto before = Structure::allStructures();
    const auto expectEmpty = [&](const char* name) {
        EXPECT_TRUE(fAccessor.structures().empty() && fAccessor.associations().empty());
        EXPECT_EQ(fAccessor.fileName(), name);
        EXPECT_FALSE(fAccessor.lastReadSucceeded());
        EXPECT_EQ(Structure::allStructures(), before);
    };
    ASSERT_TRUE(fAccessor.read("x.fake", fErrors));
    EXPECT_FALSE(fAccessor.read("fails.fake", fErrors));
    EXPECT_EQ(fErrors, "It failed.");
    expectEmpty("fails.fake");

    ASSERT_TRUE(fAccessor.read("x.fake", fErrors));
    EXPECT_TRUE(fAccessor.lastReadSucceeded());
    EXPECT_THROW(fAccessor.read("throws.fake", fErrors), std::runtime_error);
    expectEmpty("throws.fake");
}

TEST_F(AccessorTest, SetStructuresIsAllOrNothing) {
    const RefPtr<Structure> a = makeStructure("A");
    const RefPtr<Structure> b = makeStructure("B");
    fAccessor.setStructures({a.get(), b.get()});
    EXPECT_EQ(a->refCount(), 2);
    fAccessor.setStructures(fAccessor.structures());
    EXPECT_EQ(structures(), "AB");
    EXPECT_EQ(a->refCount(), 2);

    EXPECT_THROW(fAccessor.setStructures({nullptr}), std::invalid_argument) << "never compared";
    EXPECT_THROW((void)Accessor::StructureSet({a.get(), nullptr}), std::invalid_argument);
    EXPECT_EQ(structures(), "AB");
    fAccessor.clear();
    EXPECT_EQ(structures(), "");
    EXPECT_EQ(a->refCount(), 1);
}

TEST_F(AccessorTest, BaseDoesNotWrite) {
    fErrors = "earlier";
    EXPECT_FALSE(fAccessor.write(fErrors));
    EXPECT_EQ(fErrors, std::string("earlier\n") + typeid(fAccessor).name() +
                           " does not implement orbo::Data::Accessor::write");
    EXPECT_TRUE(fAccessor.isFileSupported("anything"));
}

TEST(AccessorFactory, IsFoundByTheTextBehindTheLastDot) {
    AccessorFactory<FakeAccessor> factory("FaKe");
    struct Row {
        const char* name;
        bool served;
    };
    for (const Row& row : {Row{"x.fake", true}, Row{"X.FAKE", true}, Row{"fake", true},
                           Row{".fake", true}, Row{"a.b.fake", true}, Row{"x.fake.", false},
                           Row{"", false}, Row{"x.fake/y", false}, Row{"x.fak", false}}) {
        EXPECT_EQ(Accessor::accessorByExtension(row.name) != nullptr, row.served) << row.name;
    }
}

TEST(AccessorFactory, FirstOneKeepsTheExtensionAsLongAsItLives) {
    const auto serves = [] { return Accessor::supportedExtensions().count("fake") > 0; };
    EXPECT_FALSE(serves());
    {
        AccessorFactory<FakeAccessor> first("fake");
        { AccessorFactory<FakeAccessor> second("FAKE"); }
        { AccessorFactory<FakeAccessor> none(""); }
        EXPECT_TRUE(serves());
        EXPECT_EQ(Accessor::supportedExtensions().count(""), 0U);
    }
    EXPECT_FALSE(serves());
}

TEST(AccessorFactory, ReadsAFileInOneStep) {
    AccessorFactory<FakeAccessor> factory("fake");
    std::string errors;
    EXPECT_TRUE(Accessor::readFile("x.fake", errors));
    EXPECT_EQ(errors, "");
    EXPECT_FALSE(Accessor::readFile("fails.fake", errors));
    EXPECT_EQ(errors, "It failed.");
    EXPECT_FALSE(Accessor::readFile("a.unknown", errors));
    EXPECT_EQ(errors, "It failed.\nNo factory registered for type of file \"a.unknown\"");
}

}  // namespace
}  // namespace orbo::Data
