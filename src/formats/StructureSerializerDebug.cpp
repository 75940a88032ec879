// The debug dump of a structure as a format, for tools that offer formats by name.
// SPDX-License-Identifier: Apache-2.0
#include <data/StructureSerializerDebug.h>

#include "core/ValueText.h"
#include "debug/NeverDestroyed.h"

#include <data/Structure.h>
#include <debug/Print.h>

namespace orbo::Data {

const char* const StructureSerializerDebug::structureFormatType = "debug";

StructureSerializerDebug::StructureSerializerDebug() = default;

StructureSerializerDebug::~StructureSerializerDebug() = default;

const StructureSerializerDebug& StructureSerializerDebug::theFormat() {
    return neverDestroyed<StructureSerializerDebug>(
        [](void* place) { return new (place) StructureSerializerDebug; });
}

const char* StructureSerializerDebug::formatType() const { return structureFormatType; }

Structure* StructureSerializerDebug::read(std::istream&, std::string& errors) const {
    errors = "Cannot read the debug format";
    return nullptr;
}

int StructureSerializerDebug::write(const Structure& structure, std::ostream& out) const {
    Debug::Print print(out);
    return Structure::Debug(&structure, print) ? 0 : 1;
}

void StructureSerializerDebug::getFormatDescription(std::ostream& out) const {
    // The double blank is part of the text.
    ValueText::write(out,
                     "\nThe Debug format will be self-explanatory"
                     "\nas it dumps all of the  information about"
                     "\nthe structure in a verbose format.");
}

}  // namespace orbo::Data
