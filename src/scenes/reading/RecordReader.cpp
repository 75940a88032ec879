// Turns the texts of a scene into objects, by the formats that the scene names.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/RecordReader.h"

#include <data/AssociationsSerializer.h>
#include <data/StructureSerializer.h>

#include <utility>

#include "core/Excerpt.h"
#include "scenes/reading/MemoryStream.h"

namespace orbo::Data {

namespace {

// A format may overwrite its error string, so each call gets a new one.
template <typename Format, typename Owner>
Owner readBy(const SceneRecord& record, const ReadContext& context, const char* failure,
             Findings& findings) {
    const Format* format = Format::formatByName(record.format);
    if (!format) {
        findings.add(Finding::Code::kFormatUnknown,
                     "Could not find serializer for format " + excerptOf(record.format), record);
        return Owner();
    }
    MemoryStream in(record.text);
    context.attachTo(in);
    std::string messages;
    Owner object(format->read(in, messages));
    if (!object && messages.empty()) messages = failure;
    findings.add(object ? Finding::Code::kTextRemark : Finding::Code::kTextUnreadable,
                 std::move(messages), record);
    return object;
}

}  // namespace

RefPtr<Structure> readStructure(const SceneRecord& record, const ReadContext& context,
                                Findings& findings) {
    return readBy<StructureSerializer, RefPtr<Structure>>(record, context,
                                                          "Could not read structure.", findings);
}

std::unique_ptr<Associations> readAssociations(const SceneRecord& record,
                                               const ReadContext& context, Findings& findings) {
    return readBy<AssociationsSerializer, std::unique_ptr<Associations>>(
        record, context, "Could not read associations.", findings);
}

}  // namespace orbo::Data
