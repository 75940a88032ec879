// Streams for tests of what holds them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Channel.h>

#include <vector>

#include "streams/Elements.h"

namespace orbo::Data {

/// One structure for all streams of a test.
struct Streams {
    RefPtr<Structure> structure = numberAndText();

    /// With one element at 0 that holds the value.
    [[nodiscard]] Stream make(const std::string& name, int value = 0) const {
        Stream stream(*structure, name);
        stream.setElement(Index(0), item(*structure, value, nullptr));
        return stream;
    }
    static int value(const Stream& stream) { return *Stream(stream).element(Index(0)).asInt32(); }
    static void setValue(Stream& stream, int value) { *stream.element(Index(0)).asInt32() = value; }
};

template <typename Container>
std::vector<std::string> names(const Container& container) {
    std::vector<std::string> result;
    for (const auto& entry : container) result.push_back(entry.name());
    return result;
}

}  // namespace orbo::Data
