// The elements of a stream as comma-separated values, for spreadsheets.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/Output.h"

#include <data/Stream.h>

#include <cstddef>
#include <string_view>

namespace orbo::Quilmeta {

/// Writes a header, then a line for each element: its index, then its values by columns, which are
/// MEMBER, or MEMBER[0] and so on where a member has several numbers or texts. Numbers have the
/// digits that read back as the very same value. A null string is an empty field, an empty one "".
void writeTable(const Data::Stream& stream, Output& output);

struct TableLoad {
    bool create = false;   ///< make elements that the stream lacks
    bool replace = false;  ///< remove elements that the table lacks
};

/// How many elements a table has set, and how many it lacked that were removed.
struct TableCounts {
    size_t set = 0, removed = 0;
};

/// Sets the elements of the stream to what a table such as `writeTable` makes has for them. Columns
/// may be left out, and stand in any order. Throws `CommandError` that
/// lists all problems with their lines; some elements may have new values then.
TableCounts loadTable(std::string_view text, Data::Stream& stream, const TableLoad& how);

}  // namespace orbo::Quilmeta
