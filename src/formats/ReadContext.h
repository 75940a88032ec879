// What a read is asked for beyond the arguments that a format's `read` has.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <istream>

#include "formats/ReaderRemarks.h"
#include "formats/TextOutline.h"
#include "streams/IndexTypes.h"

namespace orbo::Data {

/// A text that a thread of the library's must leave to its caller's.
struct ForeignIndexType {};

/// Travels with the input: formats that read parts of their text by other formats hand it down with
/// the stream. A stream that nobody attached a context to has the default one.
struct ReadContext {
    /// Take indices of types that nobody registered as `IndexText`, instead of throwing.
    IndexTypes::Unknown unknownIndexTypes = IndexTypes::Unknown::kThrow;
    /// Throw `ForeignIndexType` at an index type that others have brought, or nobody.
    bool ownIndexTypesOnly = false;
    /// How many threads may read one text, the caller's among them.
    unsigned threads = 1;
    /// Give what can be read of a text in spite of errors.
    bool partial = false;
    /// Gets to know what readers accept silently; may be null.
    ReaderRemarks* remarks = nullptr;
    /// Gets to know where the streams stand in a text that is in memory as a whole; may be null.
    TextOutline* outline = nullptr;

    /// The remarks if they want to hear of that kind, else null.
    [[nodiscard]] ReaderRemarks* listenerFor(ReaderRemarks::Kind kind) const {
        return remarks && remarks->wants(kind) ? remarks : nullptr;
    }

    static const ReadContext& of(std::istream& in);
    /// The context outlives every read from the stream.
    void attachTo(std::istream& in) const;
};

}  // namespace orbo::Data
