// Reads the document of `export`.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonReader.h"
#include "json/JsonValues.h"

#include <data/Accessor.h>
#include <debug/RefPtr.h>

#include <map>
#include <string>

namespace orbo::Quilmeta {

/// Metadata without a file.
struct SceneModel {
    std::map<std::string, RefPtr<const Data::Structure>> structures;
    Data::Accessor::AssociationsMap nodes;
};

/// Reads the source twice, so that the keys of an object may come in any order, and holds no more
/// of it in memory than one element and the model. Throws `CommandError` with all problems, a line
/// each, unless the document is good completely.
SceneModel readDocument(JsonSource& source);

}  // namespace orbo::Quilmeta
