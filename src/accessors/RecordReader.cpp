// From the texts in a scene file to objects, by the formats that the file names.
// SPDX-License-Identifier: Apache-2.0
#include "accessors/RecordReader.h"

#include <data/AssociationsSerializer.h>
#include <data/StructureSerializer.h>

#include "accessors/MemoryStream.h"
#include "accessors/Messages.h"

namespace orbo::Data {

namespace {

// Formats may take their error string for their own, so each call gets a new one.
template <typename Format, typename Owner>
Owner readBy(const SceneRecord& record, const char* failure, std::string& errors) {
    const Format* format = Format::formatByName(record.format);
    if (!format) {
        addMessage(errors, "Could not find serializer for format " + record.format);
        return Owner();
    }
    MemoryStream in(record.text);
    std::string messages;
    Owner object(format->read(in, messages));
    if (!object && messages.empty()) messages = failure;
    addMessage(errors, messages);
    return object;
}

}  // namespace

RefPtr<Structure> readStructure(const SceneRecord& record, std::string& errors) {
    return readBy<StructureSerializer, RefPtr<Structure>>(record, "Could not read structure.",
                                                          errors);
}

std::unique_ptr<Associations> readAssociations(const SceneRecord& record, std::string& errors) {
    return readBy<AssociationsSerializer, std::unique_ptr<Associations>>(
        record, "Could not read associations.", errors);
}

}  // namespace orbo::Data
