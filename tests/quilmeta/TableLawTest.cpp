// Tables of random streams.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RandomModel.h"
#include "editing/CsvTable.h"

namespace orbo::Quilmeta {
namespace {

std::vector<Data::Stream*> streamsOf(Data::Accessor& scene) {
    std::vector<Data::Stream*> streams;
    for (auto& [name, node] : scene.associations())
        for (Data::Channel channel : node) {
            std::vector<std::string> names;
            for (const Data::Stream& stream : channel) names.push_back(stream.name());
            for (const std::string& stream : names)
                streams.push_back(channel.findDataStream(stream));
        }
    return streams;
}

void empty(Data::Stream& stream) {
    while (!stream.empty()) stream.removeElement(stream.begin().index());
}

/// Loads each stream's table into the stream, then into the stream without its elements. Returns
/// the number of elements.
size_t loadTables(Data::Accessor& scene, const std::string& document) {
    size_t elements = 0;
    for (Data::Stream* stream : streamsOf(scene)) {
        const std::string table = written([&](Output& output) { writeTable(*stream, output); });
        const size_t count = stream->elementCount();
        EXPECT_EQ(loadTable(table, *stream, {}).set, count);
        EXPECT_EQ(documentOf(scene), document) << table;
        empty(*stream);
        TableLoad how;
        how.create = true;
        EXPECT_EQ(loadTable(table, *stream, how).set, count);
        EXPECT_EQ(documentOf(scene), document) << table;
        elements += count;
    }
    return elements;
}

TEST(TableLaw, LoadsTheStreamThatWasWritten) {
    size_t elements = 0;
    for (unsigned seed = 0; seed < 300 && !testing::Test::HasFailure(); ++seed) {
        const auto scene = Data::Accessor::accessorByExtension("scene.kx");
        RandomModel(seed, Values::kAny).fill(*scene);
        elements += loadTables(*scene, documentOf(*scene));
    }
    EXPECT_GT(elements, 1000U);
}

TEST(TableLaw, HoldsInBothKindsOfFiles) {
    const TestFolder folder;
    for (unsigned seed = 0; seed < 40 && !testing::Test::HasFailure(); ++seed) {
        const Scene first = opened(folder.bareScene(seed % 2 == 0 ? "scene.kx" : "scene.ky"));
        RandomModel(seed).fill(*first.accessor);
        store(first);
        const Scene again = opened(first.accessor->fileName());
        const std::string document = documentOf(*again.accessor);
        loadTables(*again.accessor, document);
        store(again);
        EXPECT_EQ(documentOf(*opened(first.accessor->fileName()).accessor), document) << seed;
    }
}

}  // namespace
}  // namespace orbo::Quilmeta
