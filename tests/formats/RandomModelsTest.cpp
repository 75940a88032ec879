// What must hold for the text of any model: random structures, elements, streams and channels.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/Handle.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>

#include <random>

#include "core/StructureRegistry.h"
#include "formats/Reread.h"

namespace orbo::Data {
namespace {

class RandomModels : public testing::Test {
  protected:
    unsigned int below(unsigned int limit) { return static_cast<unsigned int>(fRandom() % limit); }
    std::string anyOf(std::initializer_list<const char*> texts) {
        return *(texts.begin() + below(static_cast<unsigned int>(texts.size())));
    }
    std::string name() {
        return anyOf({"", "a", "B b", "endChannel", "\xC3\xA4", "name", "x:y=z"});
    }

    RefPtr<Structure> structure() {
        RefPtr<Structure> made(new Structure(("S " + std::to_string(fStructures++)).c_str()));
        for (unsigned int i = 1 + below(6); i > 0; --i) {
            made->addMember(static_cast<Member::eDataType>(below(Member::kInvalid)), 1 + below(3),
                            ("\xC3\xA4[" + std::to_string(i) + "] 'x'").c_str());
        }
        Structure::registerStructure(*made);
        return made;
    }
    std::string value(Member::eDataType type) {
        if (type == Member::kBoolean) return anyOf({"t", "f"});
        std::string text;
        for (unsigned int i = 16; i > 0; --i) {
            text += type == Member::kString ? anyOf({"", "\\", "\"", "\n", "\nendStream\n", "n\t;"})
                                            : std::to_string(below(100)) + " ";
        }
        return text;
    }
    Handle element(const Structure& structure) {
        Handle handle(structure);
        std::string errors;
        for (unsigned int m = 0; m < structure.memberCount(); ++m) {
            handle.setPositionByMemberIndex(m);
            for (unsigned int k = below(2); k < handle.dataLength(); ++k)
                EXPECT_EQ(handle.fromStr(value(handle.dataType()), k, errors), 0U) << errors;
        }
        return handle;
    }
    Index index(const Stream& stream) {
        const unsigned int number = below(9);
        if (stream.indexType() == "pair") return IndexPair(number, 5);
        if (stream.indexType() == "string") return IndexString("joint " + std::to_string(number));
        return number;
    }
    Stream stream() {
        const RefPtr<Structure> made = structure();
        Stream result(*made, name());
        result.setIndexType(anyOf({"numeric", "pair", "string"}));
        if (result.indexType() == "numeric") result.useDenseStorage(below(2) != 0);
        for (unsigned int i = below(5); i > 0; --i)
            result.setElement(index(result), element(*made));
        return result;
    }
    Associations associations() {
        Associations result;
        for (unsigned int i = below(4); i > 0; --i) {
            Channel channel(name());
            for (unsigned int k = below(4); k > 0; --k) channel.setDataStream(stream());
            result.setChannel(channel);
        }
        return result;
    }

    StructureRegistry::SetAside fOwnRegistry;
    std::mt19937 fRandom{35};
    int fStructures = 0;
};

TEST_F(RandomModels, WriteReadWriteIsTheSame) {
    for (int round = 0; round < 200; ++round) {
        const std::string text = written<AssociationsSerializerRaw>(associations());
        ASSERT_EQ(reread<AssociationsSerializerRaw>(text), text);
        const RefPtr<Structure> made = structure();
        ForeignStream in(written<StructureSerializerRaw>(*made));
        std::string errors;
        ASSERT_EQ(*owned(StructureSerializerRaw::theFormat().read(in, errors)), *made) << errors;
    }
}

}  // namespace
}  // namespace orbo::Data
