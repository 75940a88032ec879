// What all accessors share, and how they are found.
// SPDX-License-Identifier: Apache-2.0
#include <data/AccessorFactory.h>
#include <debug/RefPtr.h>

#include <stdexcept>

#include "scenes/SceneTest.h"

namespace orbo::Data {
namespace {

/// Does what the file name says.
class FakeAccessor : public Accessor {
  protected:
    bool readImplementation(const std::set<std::string>*, const std::set<std::string>*,
                            std::string& errors) override {
        if (fileName() == "x.fake") return true;
        errors += "It failed.";
        return false;
    }
};

TEST(Accessor, SetStructuresIsAllOrNothing) {
    const RefPtr<Structure> a = makeStructure("A");
    const RefPtr<Structure> b = makeStructure("B");
    QuilAsciiFileAccessor accessor;
    accessor.setStructures({b.get(), a.get()});
    accessor.setStructures(accessor.structures());
    EXPECT_EQ(a->refCount(), 2);
    EXPECT_THROW(accessor.setStructures({nullptr}), std::invalid_argument) << "never compared";
    EXPECT_THROW((void)Accessor::StructureSet({a.get(), nullptr}), std::invalid_argument);
    EXPECT_EQ(accessor.structures(), Accessor::StructureSet({a.get(), b.get()}));
    accessor.clear();
    EXPECT_TRUE(accessor.structures().empty());
    EXPECT_EQ(a->refCount(), 1);
}

TEST(Accessor, IsThatOfTheFirstFactoryForItsExtension) {
    const auto serves = [](const char* name) {
        EXPECT_EQ(Accessor::supportedExtensions().count(""), 0U);
        return Accessor::accessorByExtension(name) != nullptr;
    };
    std::string errors;
    {
        AccessorFactory<FakeAccessor> first("FaKe");
        { AccessorFactory<FakeAccessor> second("FAKE"); }
        AccessorFactory<FakeAccessor> none("");
        for (const char* name : {"x.fake", "X.FAKE", "fake", ".fake", "a.b.fake"})
            EXPECT_TRUE(serves(name)) << name;
        for (const char* name : {"x.fake.", "", "x.fake/y", "x.fak"})
            EXPECT_FALSE(serves(name)) << name;

        const std::unique_ptr<Accessor> read = Accessor::readFile("x.fake", errors);
        ASSERT_TRUE(read);
        EXPECT_TRUE(read->isFileSupported("anything"));
        EXPECT_TRUE(read->check("x.fake").empty()) << "it finds nothing unless it says how";
        EXPECT_FALSE(Accessor::readFile("fails.fake", errors));
        EXPECT_FALSE(read->write(errors));
        const Accessor& accessor = *read;
        EXPECT_EQ(errors, "It failed.\n" + std::string(typeid(accessor).name()) +
                              " does not implement orbo::Data::Accessor::write");
    }
    errors = "earlier";
    EXPECT_FALSE(Accessor::readFile("x.fake", errors)) << "no longer than its factory";
    EXPECT_EQ(errors, "earlier\nNo factory registered for type of file \"x.fake\"");
}

}  // namespace
}  // namespace orbo::Data
