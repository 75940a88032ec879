// The values of columns on their way into elements.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Member.h>

#include <cstdint>
#include <vector>

#include "ArrowColumn.h"

namespace orbo::Python {

/// Which rows of a table a batch has.
struct ArrowPlace {
    std::int64_t rowsBefore;  // in other batches
    std::int64_t firstRow;    // of the arrays that the batch has for columns
    bool hasNullsForNan;      // pandas has nothing else for a number that is none
};

/// Stores a column of a batch in a member, which lies at `offset` in the chunks, one for each row.
/// Throws `ValueError` or `OverflowError`, which say the row, for what does not fit.
void storeColumn(const ArrowColumnType& type, const ArrowArray& array, const Data::Member& member,
                 std::uint64_t offset, const ArrowPlace& place, const std::vector<char*>& chunks);

}  // namespace orbo::Python
