// Many threads read one model that nobody changes.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AssociationsSerializerRaw.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/StreamSerializerRaw.h>
#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace orbo::Data {
namespace {

constexpr unsigned int kCount = 3000;

/// Channel "numbers": streams of numbers in both storages. Channel "typed": pairs and strings.
struct Model {
    Model() {
        structure->addMember(Member::kInt32, 1, "number");
        structure->addMember(Member::kString, 1, "text");
        Channel numbers = associations.channel("numbers");
        addNumbered(numbers, "in order", 1);
        addNumbered(numbers, "with gaps", 7);
        addNumbered(numbers, "scattered", 1999 * 61'007U);
        numbers.dataStream("in order")->removeElement(kCount / 2);
        addNumbered(numbers, "dense", 1)->useDenseStorage(true);
        Channel typed = associations.channel("typed");
        Stream* pairs = typed.setDataStream(Stream(*structure, "pairs"));
        Stream* strings = typed.setDataStream(Stream(*structure, "strings"));
        pairs->setIndexType("pair");
        strings->setIndexType("string");
        for (unsigned int k = 0; k < kCount / 10; ++k) {
            set(*pairs, IndexPair(k, k * 3), k);
            set(*strings, IndexString("joint " + std::to_string(k)), k);
        }
    }

    Stream* addNumbered(Channel& channel, const char* name, unsigned int step) const {
        Stream* stream = channel.setDataStream(Stream(*structure, name));
        for (unsigned int k = 0; k < kCount; ++k) set(*stream, k * step, k);
        return stream;
    }
    static void set(Stream& stream, const Index& index, unsigned int number) {
        Handle element = stream.emplaceElement(index);
        *element.asInt32() = static_cast<int>(number);
        element.setPositionByMemberName("text");
        std::string ignored;
        element.fromStr("text " + std::to_string(number), 0, ignored);
    }
    [[nodiscard]] Stream& stream(const char* channel, const char* name) const {
        return *associations.findChannel(channel)->findDataStream(name);
    }

    RefPtr<Structure> structure{new Structure("Item")};
    // Not const below: what threads share is often a reference like any other.
    mutable Associations associations;
};

std::string lookUp(const Model& model) {
    std::ostringstream out;
    for (const char* const name : {"in order", "with gaps", "scattered", "dense"}) {
        Stream& stream = model.stream("numbers", name);
        unsigned int found = 0;
        long long sum = 0;
        for (unsigned int number = 0; number < 3 * kCount; ++number) {
            const bool isThere = stream.hasElement(number);
            Handle element = stream.element(number);
            if (isThere != element.hasData()) out << "disagreement at " << number << '\n';
            if (isThere) ++found;
            if (const int* value = element.asInt32()) sum += std::int64_t{*value} * number;
        }
        out << found << ' ' << sum << '\n';
    }
    for (unsigned int number = 0; number < kCount; number += 11) {
        const Stream& stream = model.stream("numbers", "in order");
        ConstHandle element = stream.element(number);
        element.setPositionByMemberName("text");
        out << element.hasData() << stream.hasElement(Index(number))
            << (element.hasData() ? element.asString()[0] : "none");
    }
    for (unsigned int k = 0; k < kCount / 10; k += 3) {
        out << model.stream("typed", "pairs").element(IndexPair(k, k * 3)).str(0)
            << model.stream("typed", "strings")
                   .hasElement(IndexString("joint " + std::to_string(k)));
    }
    return out.str();
}

std::string walk(const Model& model) {
    std::ostringstream out;
    for (const Channel& channel : model.associations) {
        out << channel.name() << ":\n";
        for (const Stream& stream : channel) {
            long long sum = 0;
            unsigned int steps = 0;
            for (StreamIterator it = stream.begin(); it != stream.end(); ++it)
                sum += ++steps * std::int64_t{*it->asInt32()} + it.index().index();
            out << stream.name() << ' ' << stream.elementCount() << ' ' << sum << '\n';
        }
    }
    const auto column = model.stream("numbers", "dense").column<int>("number");
    for (unsigned int k = 0; k < column.size(); ++k) out << *column[k];
    return out.str();
}

std::string writeOut(const Model& model) {
    std::ostringstream out;
    std::string errors;
    AssociationsSerializerRaw::theFormat().write(model.associations, out, errors);
    return out.str() + errors;
}

std::string dump(const Model& model) {
    std::ostringstream out;
    Debug::Print print(out);
    Debug::Footprint footprint;
    Associations::Debug(&model.associations, print);
    Associations::Debug(&model.associations, footprint);
    return out.str() + std::to_string(footprint.totalSize());
}

std::string copyAndDetach(const Model& model) {
    Associations copy = model.associations;
    Stream stream = model.stream("numbers", "with gaps");
    stream.makeUnique();
    stream.element(7).pointToData(nullptr, false);
    stream.clear();
    copy.makeUnique();
    Channel channel = *copy.findChannel("numbers");
    channel.removeDataStream("dense");
    return std::to_string(stream.elementCount()) + channel.name() + std::to_string(copy.size());
}

std::string askStructureAndContainers(const Model& model) {
    const Structure& structure = *model.structure;
    std::ostringstream out;
    for (const Member& member : structure) out << member.name() << ' ';
    out << structure.totalSize() << (structure.defaultData() != nullptr)
        << structure.chunkIsDefault(structure.defaultData()) << Handle(structure).str(0);
    const Associations& associations = model.associations;
    out << associations[1]->name() << associations.findChannel("numbers")->dataStream(2)->name()
        << (associations.findChannel("none") == nullptr)
        << (associations.findChannel("typed")->findDataStream("none") == nullptr);
    const StructureIterator none;
    out << StructureIterator(none).valid() << Index::doCreate("pair", "3 4").asString();
    return out.str();
}

using Reader = std::string (*)(const Model&);
const std::vector<Reader> kReaders = {lookUp, walk,          writeOut,
                                      dump,   copyAndDetach, askStructureAndContainers};

/// What the readers say one after the other, of a model that nobody else reads.
std::vector<std::string> alone(const std::function<void(Model&)>& prepare) {
    const Model model;
    prepare(const_cast<Model&>(model));
    std::vector<std::string> answers;
    for (const Reader& reader : kReaders) answers.push_back(reader(model));
    return answers;
}

/// As many threads as there are readers; each begins with another one.
void readTogether(const std::function<void(Model&)>& prepare) {
    const std::vector<std::string> expected = alone(prepare);
    for (int round = 0; round < 3; ++round) {
        Model model;
        prepare(model);
        std::vector<std::thread> threads;
        for (std::size_t thread = 0; thread < kReaders.size(); ++thread) {
            threads.emplace_back([&, thread] {
                for (std::size_t k = 0; k < kReaders.size(); ++k) {
                    const std::size_t reader = (thread + k) % kReaders.size();
                    EXPECT_EQ(kReaders[reader](model), expected[reader]) << "reader " << reader;
                }
            });
        }
        for (std::thread& thread : threads) thread.join();
    }
}

TEST(ReadersOfOneModel, GetTheAnswersThatOneWouldGet) {
    readTogether([](Model&) {});
}

// What the readers see first is then made by the first of them.
TEST(ReadersOfOneModel, MayComeRightAfterTheStructureChanged) {
    readTogether([](Model& model) { model.structure->addMember(Member::kDouble, 2, "late"); });
}

TEST(ReadersOfOneModel, MayComeRightAfterStreamsAndChannelsWereRenamed) {
    readTogether([](Model& model) {
        Channel other("other");
        for (const char* const name : {"dense", "scattered"})
            other.setDataStream(model.stream("numbers", name));
        Channel& typed = *model.associations.findChannel("typed");
        const Channel same = typed;
        // Nothing is looked for from here on: channels and associations are still in the old order.
        typed = Channel("zz typed");
        typed = same;
        other.renameDataStream("dense", "other");
        other.renameDataStream("scattered", "dense");
        other.renameDataStream("other", "scattered");
    });
}

}  // namespace
}  // namespace orbo::Data
