// The dumps of streams, word for word.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexPair.h>
#include <data/Stream.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "streams/Elements.h"
#include "streams/StreamImplDense.h"

namespace orbo::Data {

namespace {

std::string dump(const Stream* stream, bool addresses = false) {
    std::ostringstream out;
    Debug::Print print(out);
    if (addresses) print.addFilter(Stream::kDebugHex, 1);
    EXPECT_TRUE(Stream::Debug(stream, print));
    return out.str();
}

TEST(StreamDebugTest, Mapped) {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream(*structure, "items");
    stream.setElementRange(2, IndexPair(3, 4));
    stream.setElement(5, item(*structure, 7, "seven"));
    stream.setElement(IndexPair(1, 2), Handle(*structure, nullptr));
    EXPECT_EQ(dump(&stream) + dump(nullptr),
              "Data Stream (Mapped)\n{\n"
              "    Data Stream 'items' uses structure 'Item' with index type 'numeric'\n"
              "    Lowest valid index = 2\n    Highest valid index = \n"
              "    Stream Elements\n    {\n        Element count = 2\n"
              "        Index (5), Handle (1 elements: [ 7 ])\n"
              "        Index (1 2), Handle (1 elements: [ 0 ])\n    }\n}\n");
}

TEST(StreamDebugTest, Dense) {
    const RefPtr<Structure> structure = numberAndText();
    Stream stream = denseStream(*structure);
    stream.setElement(1, item(*structure, 7, "seven"));
    EXPECT_EQ(dump(&stream),
              "Data Stream\n{\n"
              "    Data Stream 'dense' uses structure 'Item' with index type 'numeric'\n"
              "    Highest valid index = 2\n    Number allocated    = 170\n"
              "    Stream Elements\n    {\n        Element count = 2\n"
              "        [0] 1 elements: [ 0 ] | 2 elements: [   ]\n"
              "        [1] 1 elements: [ 7 ] | 2 elements: [   ]\n    }\n}\n");
    Debug::Footprint footprint;
    EXPECT_TRUE(Stream::Debug(&stream, footprint));
    EXPECT_EQ(footprint.totalSize(), sizeof(Stream) + sizeof(StreamImplDense) +
                                         170 * structure->totalSize() + sizeof "seven");
    stream.clear();
    EXPECT_NE(dump(&stream, true).find("\n        [1] PTR: 0x(nil) : 1 elements: [ 0 ](0x(nil)) "),
              std::string::npos);
    // Numbers are aligned, except behind some powers of ten.
    stream.setElementRange(1, 101);
    EXPECT_NE(dump(&stream).find(" [ 0] "), std::string::npos);
    stream.setElementRange(1, 110);
    EXPECT_NE(dump(&stream).find(" [  0] "), std::string::npos);
}

}  // namespace

}  // namespace orbo::Data
