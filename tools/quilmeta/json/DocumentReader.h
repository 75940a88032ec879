// Reads the document of `export`.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonReader.h"
#include "json/JsonValues.h"

#include <data/Accessor.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <map>
#include <string>

namespace orbo::Quilmeta {

/// Metadata without a file.
struct SceneModel {
    std::map<std::string, RefPtr<const Data::Structure>> structures;
    Data::Accessor::AssociationsMap nodes;
    /// Tells what scenes of the library's own kinds could not hold. Other kinds may, and where a
    /// scene has it already, nothing has to be written.
    JsonProblems doubts;

    struct Place {
        size_t line, number;
    };
    /// Where the document has the names of nodes: the line, and the position in the list.
    std::map<std::string, Place> places;
};

/// Reads the source twice, so that the keys of an object may come in any order, and holds no more
/// of it in memory than one element and the model. Throws `CommandError` with all problems, a line
/// each and doubts among them, unless the document is good completely or has nothing but doubts.
SceneModel readDocument(JsonSource& source);

}  // namespace orbo::Quilmeta
