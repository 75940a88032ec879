// What differs between the metadata of two scenes, change by change.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonObject.h"
#include "json/JsonReader.h"
#include "process/Output.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// One change. Values are JSON as the document of `export` has them, on one line; a NaN with
/// unusual bits is "NaN:0xffc00000".
struct Change {
    enum class Kind {
        kSet,        ///< all values of one member
        kElement,    ///< the values of an element that comes or goes
        kStream,     ///< a stream that comes or goes, or gets another structure or index type
        kStructure,  ///< a structure
    };

    Kind kind = Kind::kSet;
    std::string structure = {};  ///< the name of the structure; the other names are empty then
    std::string node = {}, channel = {}, stream = {};
    std::string index = {};   ///< of an element, in JSON
    std::string member = {};  ///< for `kSet`
    /// "null" where there is nothing; for `kSet` that is a null string. Those of a patch that was
    /// read may have line feeds.
    std::string before = {}, after = {};

    /// Where a patch that was read has a value.
    struct Source {
        size_t line = 0;  ///< 0 for a change that was not read
        std::string key = {};
    };
    size_t number = 0;  ///< of the change in the patch that was read, from 0
    Source indexSource = {}, beforeSource = {}, afterSource = {};

    /// "node arm, channel joints, stream pose, index 3, member side", safe to show.
    [[nodiscard]] std::string place() const;
    [[nodiscard]] bool adds() const { return kind != Kind::kSet && before == "null"; }
    [[nodiscard]] bool removes() const { return kind != Kind::kSet && after == "null"; }
};

/// What a patch calls it: "set", "element", "stream" or "structure".
const char* wordFor(Change::Kind kind);

struct Patch {
    std::vector<Change> changes;
};

/// The JSON of a value on one line. A string has no line feeds: they are escaped.
std::string onOneLine(std::string_view json);

/// The patch that undoes this one.
Patch reversed(Patch patch);

/// The files that a patch was made from: it makes `file` what `to` is.
struct PatchFiles {
    std::string file, to;
};

/// One change as a patch has it. With files, their names stand in front.
JsonObject jsonOf(const Change& change, const PatchFiles* files = nullptr);

/// The kind of the change under the key `kind`, and the names of its place.
JsonObject placeJsonOf(const Change& change, const char* kind);

/// Writes the patch as JSON, a change to a line.
void write(const Patch& patch, Output& output, const PatchFiles* files = nullptr);

/// Reads what `write` writes. Throws `CommandError` with all problems, a line each.
Patch readPatch(JsonSource& source);

}  // namespace orbo::Quilmeta
