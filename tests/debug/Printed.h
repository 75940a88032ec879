// Dumps as texts, for the tests of all rooms.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Print.h>
#include <gmock/gmock.h>

#include <sstream>
#include <string>

namespace orbo::Debug {

/// The dump of an object that may be null, under a filter.
template <typename T>
std::string printed(const T* object, const char* filter = "none", bool result = true) {
    std::ostringstream out;
    Print print(out);
    print.addFilter(filter, 1);
    EXPECT_EQ(T::Debug(object, print), result);
    return out.str();
}

}  // namespace orbo::Debug
