// The number of objects of a class that are alive.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo::Debug {

/// The `Debug(const T*, Count&)` of every public class sets it.
///
///     Debug::Count count;
///     Stream::Debug(nullptr, count);
///     std::cout << count.value() << " streams are alive\n";
class METADATA_API Count {
  public:
    Count() = default;
    Count(const Count&) = default;
    Count& operator=(const Count&) = default;
    Count& operator=(unsigned long long value) {
        fValue = value;
        return *this;
    }

    [[nodiscard]] unsigned long long value() const { return fValue; }

  private:
    unsigned long long fValue = 0;
};

}  // namespace orbo::Debug
