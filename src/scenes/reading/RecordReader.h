// From the texts in a scene file to objects, by the formats that the file names.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Associations.h>
#include <data/SceneRecord.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <memory>

#include "formats/ReadContext.h"
#include "scenes/Findings.h"

namespace orbo::Data {

/// Both give null, and always a finding with it, for a format nobody registered and for text that
/// it cannot read. They let the exceptions of formats pass.
RefPtr<Structure> readStructure(const SceneRecord& record, const ReadContext& context,
                                Findings& findings);
/// Looks the structures up in the registry.
std::unique_ptr<Associations> readAssociations(const SceneRecord& record,
                                               const ReadContext& context, Findings& findings);

}  // namespace orbo::Data
