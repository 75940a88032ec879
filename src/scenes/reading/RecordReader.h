// Turns the texts of a scene into objects, by the formats that the scene names.
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

/// Both return null and add a finding when nobody registered the format or it cannot read the text.
/// Exceptions that a format throws pass through.
RefPtr<Structure> readStructure(const SceneRecord& record, const ReadContext& context,
                                Findings& findings);
/// Looks up structures in this thread's registry.
std::unique_ptr<Associations> readAssociations(const SceneRecord& record,
                                               const ReadContext& context, Findings& findings);

}  // namespace orbo::Data
