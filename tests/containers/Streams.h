// Streams for tests of what holds them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Channel.h>
#include <data/Handle.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/Print.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

namespace orbo::Data {

/// One structure with a single int32, "value", for all streams of a test.
class Streams {
  public:
    Streams() : fStructure(Structure::create()) {
        fStructure->setName("Number");
        fStructure->addMember(Member::kInt32, 1, "value");
    }

    /// With one element at 0 that holds the value.
    [[nodiscard]] Stream make(const std::string& name, int value = 0) const {
        Stream stream(*fStructure, name);
        Handle handle(*fStructure);
        *handle.asInt32() = value;
        stream.setElement(Index(0), handle);
        return stream;
    }

    static int value(const Stream& stream) { return *Stream(stream).element(Index(0)).asInt32(); }
    static void setValue(Stream& stream, int value) { *stream.element(Index(0)).asInt32() = value; }

  private:
    RefPtr<Structure> fStructure;
};

template <typename Container>
std::vector<std::string> names(const Container& container) {
    std::vector<std::string> result;
    for (const auto& entry : container) result.push_back(entry.name());
    return result;
}

/// The dump of an object that may be null.
template <typename T>
std::string printed(const T* object, bool expected) {
    std::ostringstream out;
    Debug::Print print(out);
    EXPECT_EQ(expected, T::Debug(object, print));
    return out.str();
}

}  // namespace orbo::Data
