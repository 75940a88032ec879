// The dumps of streams, word for word.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/Stream.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <string>

#include "streams/Elements.h"
#include "streams/StreamImplDense.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

namespace {

class StreamDebugTest : public testing::Test {
  protected:
    StreamDebugTest() : structure(numberAndText()), stream(*structure, "items") {}

    [[nodiscard]] std::string dump(const char* filter = nullptr) const {
        std::ostringstream out;
        Debug::Print print(out);
        if (filter) print.addFilter(filter, 1);
        EXPECT_TRUE(Stream::Debug(&stream, print));
        return out.str();
    }

    static std::string address(const void* pointer) {
        char text[32];
        std::snprintf(text, sizeof text, "0x%p", pointer);
        return text;
    }

    RefPtr<Structure> structure;
    Stream stream;
};

TEST_F(StreamDebugTest, Mapped) {
    stream.setElementRange(2, IndexPair(3, 4));
    stream.setElement(5, item(*structure, 7, "seven"));
    stream.setElement(IndexPair(1, 2), item(*structure, 8, nullptr));
    EXPECT_EQ(dump(),
              "Data Stream (Mapped)\n"
              "{\n"
              "    Data Stream 'items' uses structure 'Item' with index type 'numeric'\n"
              "    Lowest valid index = 2\n"
              "    Highest valid index = \n"
              "    Stream Elements\n"
              "    {\n"
              "        Element count = 2\n"
              "        Index (5), Handle (1 elements: [ 7 ])\n"
              "        Index (1 2), Handle (1 elements: [ 8 ])\n"
              "    }\n"
              "}\n");
}

TEST_F(StreamDebugTest, Dense) {
    stream.useDenseStorage(true);
    stream.setElement(1, item(*structure, 7, "seven"));
    stream.element(1).setPositionByMemberName("texts");
    EXPECT_EQ(dump(),
              "Data Stream\n"
              "{\n"
              "    Data Stream 'items' uses structure 'Item' with index type 'numeric'\n"
              "    Highest valid index = 2\n"
              "    Number allocated    = 170\n"
              "    Stream Elements\n"
              "    {\n"
              "        Element count = 2\n"
              "        [0] 1 elements: [ 0 ] | 2 elements: [   ]\n"
              "        [1] 1 elements: [ 7 ] | 2 elements: [   ]\n"
              "    }\n"
              "}\n");
}

TEST_F(StreamDebugTest, DenseNumbersAreAlignedExceptBehindSomePowersOfTen) {
    const struct {
        unsigned int count;
        const char* first;
    } rows[] = {{1, "[0] "},    {10, "[0] "},   {11, "[ 0] "},
                {100, "[ 0] "}, {101, "[ 0] "}, {110, "[  0] "}};
    stream.useDenseStorage(true);
    for (const auto& row : rows) {
        stream.setElementRange(1, row.count);
        const std::string text = dump();
        EXPECT_NE(text.find(row.first), std::string::npos) << row.count << '\n' << text;
        EXPECT_NE(text.find('[' + std::to_string(row.count - 1) + "] "), std::string::npos);
    }
}

TEST_F(StreamDebugTest, DenseWithAddresses) {
    stream.useDenseStorage(true);
    stream.setElement(0, item(*structure, 7, nullptr));
    const std::string at = address(stream.element(0).asInt32());
    const std::string text = dump(Stream::kDebugHex);
    EXPECT_NE(text.find("\n    PTR: " + at + "\n    Highest valid index = 1\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("\n        [0] PTR: " + at + " : 1 elements: [ 7 ](" + at + ")"),
              std::string::npos)
        << text;
}

TEST_F(StreamDebugTest, NullPrintsNothingAndElementsWithoutDataAreSafe) {
    std::ostringstream out;
    Debug::Print print(out);
    Debug::Footprint footprint;
    EXPECT_TRUE(Stream::Debug(nullptr, print));
    EXPECT_TRUE(StreamImplDense::Debug(nullptr, print));
    EXPECT_TRUE(StreamImplMapped::Debug(nullptr, print));
    EXPECT_TRUE(StreamImpl::Debug(nullptr, print));
    EXPECT_TRUE(Stream::Debug(nullptr, footprint));
    EXPECT_EQ(out.str(), "");
    EXPECT_EQ(footprint.totalSize(), 0u);

    stream.setElement(0, Handle(*structure, nullptr));
    EXPECT_NE(dump().find("Index (0), Handle (1 elements: [ 0 ])\n"), std::string::npos);
    stream.removeElement(0);
    stream.useDenseStorage(true);
    stream.setElement(0, item(*structure, 7, "seven"));
    stream.clear();
    EXPECT_NE(dump().find("[0] 1 elements: [ 0 ] | 2 elements: [   ]\n"), std::string::npos);
}

TEST_F(StreamDebugTest, FootprintAddsStorageChunksAndStrings) {
    stream.setElement(5, item(*structure, 7, "seven"));
    Debug::Footprint mapped;
    EXPECT_TRUE(Stream::Debug(&stream, mapped));
    EXPECT_EQ(mapped.totalSize(),
              sizeof(Stream) + sizeof(StreamImplMapped) + structure->totalSize() + sizeof "seven");
    EXPECT_EQ(mapped.totalFragments(), 4u);
    stream.useDenseStorage(true);
    Debug::Footprint dense;
    EXPECT_TRUE(Stream::Debug(&stream, dense));
    EXPECT_EQ(dense.totalSize(), sizeof(Stream) + sizeof(StreamImplDense) +
                                     170 * structure->totalSize() + sizeof "seven");
    EXPECT_EQ(dense.totalFragments(), 4u);
}

}  // namespace

}  // namespace orbo::Data
