// Streams as values of a patch.
// SPDX-License-Identifier: Apache-2.0
#include "patches/StreamValue.h"

#include "streams/StreamAccess.h"
#include "values/SafeText.h"

namespace orbo::Quilmeta {

std::optional<Data::Stream> streamFrom(ValueFromJson& from, JsonCursor& cursor,
                                       const std::string& name, const StructureFor& structureFor) {
    JsonCursor here = cursor;
    std::optional<std::string> title, structure, indexType;
    std::optional<JsonCursor> elements;
    const bool known = from.object(cursor, [&](const std::string& key) {
        if (key == "name") return title = from.text(cursor), true;
        if (key == "structure") return structure = from.name(cursor), true;
        if (key == "indexType") return indexType = from.text(cursor), true;
        if (key != "elements") return false;
        elements.emplace(cursor);
        cursor.skip();
        return true;
    });
    if (!known) return {};
    const auto refuse = [&](const std::string& message) {
        from.problem(here, message);
        return std::nullopt;
    };
    if (!title || !structure || !indexType || !elements)
        return refuse("needs a name, a structure, an indexType and elements");
    if (*title != name) return refuse("has another name");
    const Data::Structure* const found = structureFor(*structure);
    if (!found) return refuse("there is no structure " + inQuotes(*structure));
    Data::Stream stream(*found, name);
    Data::StreamAccess::setIndexType(stream, *indexType);
    const JsonStep step(from.path(), "elements");
    from.list(*elements, [&](size_t) { addElement(from, *elements, stream); });
    return stream;
}

}  // namespace orbo::Quilmeta
