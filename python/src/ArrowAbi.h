// The records by which libraries hand Arrow's tables to each other, as the C data interface fixes
// them. SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace orbo::Python {

/// Whoever has one calls `release`, which sets itself to null, and the children's with it.
struct ArrowSchema {
    const char* format;
    const char* name;
    const char* metadata;  // null for none
    std::int64_t flags;
    std::int64_t n_children;
    ArrowSchema** children;
    ArrowSchema* dictionary;
    void (*release)(ArrowSchema*);
    void* private_data;
};

constexpr std::int64_t kArrowNullable = 2;  // a flag of schemas

struct ArrowArray {
    std::int64_t length;
    std::int64_t null_count;  // -1 for unknown
    std::int64_t offset;
    std::int64_t n_buffers;
    std::int64_t n_children;
    const void** buffers;
    ArrowArray** children;
    ArrowArray* dictionary;
    void (*release)(ArrowArray*);
    void* private_data;
};

/// Functions return 0 or a number of `errno`. An array without `release` ends the stream.
struct ArrowArrayStream {
    int (*get_schema)(ArrowArrayStream*, ArrowSchema* out);
    int (*get_next)(ArrowArrayStream*, ArrowArray* out);
    const char* (*get_last_error)(ArrowArrayStream*);
    void (*release)(ArrowArrayStream*);
    void* private_data;
};

/// The names of the capsules that carry them.
constexpr const char* kSchemaCapsule = "arrow_schema";
constexpr const char* kArrayCapsule = "arrow_array";
constexpr const char* kStreamCapsule = "arrow_array_stream";

/// What metadata of a table or a column is called. The values are names as `escapedName` gives
/// them, for some packages take nothing but UTF-8.
namespace ArrowKey {
constexpr const char* kStream = "quilmeta.stream";
constexpr const char* kStructure = "quilmeta.structure";
constexpr const char* kIndexType = "quilmeta.index_type";
/// Of a column with indices: "0", or "1" for the second number of a pair.
constexpr const char* kIndex = "quilmeta.index";
/// The name of the member where it is no UTF-8, and the column has another one.
constexpr const char* kName = "quilmeta.name";
/// The one that pandas adds, in its own format.
constexpr const char* kPandas = "pandas";
}  // namespace ArrowKey

}  // namespace orbo::Python
