// Reads the text of a record for those who do not want to hear what is wrong with it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <memory>

#include "streams/IndexTypes.h"

namespace orbo::Data {

/// Both are null when the text cannot be read, for whatever reason. Only memory that runs out,
/// which says nothing about the text, throws.
RefPtr<Structure> tryToReadStructure(const SceneRecord& record);
std::unique_ptr<Associations> tryToReadAssociations(const SceneRecord& record,
                                                    IndexTypes::Unknown unknownIndexTypes);

}  // namespace orbo::Data
