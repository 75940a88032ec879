// Reads the text of a record without telling what is wrong with it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <memory>

#include "streams/IndexTypes.h"

namespace orbo::Data {

/// Both return null when the text cannot be read, also when its format throws. They throw only
/// `std::bad_alloc`, which says nothing about the text.
RefPtr<Structure> tryToReadStructure(const SceneRecord& record);
std::unique_ptr<Associations> tryToReadAssociations(const SceneRecord& record,
                                                    IndexTypes::Unknown unknownIndexTypes);

}  // namespace orbo::Data
