// What becomes of a record of the file in a write.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace orbo::Data {

enum class RecordFate {
    kAhead,      ///< kept, in front of what is written
    kBehind,     ///< kept, behind the namesake that is written, which must be found first
    kUnchanged,  ///< kept, in the place of its name: the model has nothing else to write there
    kDropped
};

/// By the number of a record in the file.
using RecordFates = std::vector<RecordFate>;

}  // namespace orbo::Data
