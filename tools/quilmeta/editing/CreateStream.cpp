// Streams that are made when they are first written to.
// SPDX-License-Identifier: Apache-2.0
#include "editing/CreateStream.h"

#include "editing/Structures.h"
#include "process/CommandError.h"
#include "values/SafeText.h"

#include <data/Channel.h>
#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/IndexType.h>
#include <data/Stream.h>
#include <fmt/format.h>

namespace orbo::Quilmeta {

namespace {

void demand(const char* what, const std::string& present,
            const std::optional<std::string>& wanted) {
    if (wanted && *wanted != present)
        throw CommandError(fmt::format("the stream is there and has the {} {}, not {}", what,
                                       inQuotes(present), inQuotes(*wanted)));
}

/// "numeric" for a number, "pair" for two, else "string".
std::string indexTypeOf(const std::string& index) {
    for (const std::string& type : {Data::Index::theTypeName(), Data::IndexPair::theTypeName()}) {
        try {
            (void)Data::Index::doCreate(type, index);
            return type;
        } catch (Data::Index::eCreationErrors) {
            // It is an index of another type.
        }
    }
    return Data::IndexString::theTypeName();
}

/// Metadata that cannot be read would come back in place of what is made now, or hide it.
void demandReadable(const Scene& scene, const std::string& node) {
    if (scene.complete || scene.accessor->associations().count(node) > 0) return;
    if (!isReadable(scene.accessor->fileName(), {node}))
        throw CommandError(
            fmt::format("metadata of node {} is there, but cannot be read", shownNode(node)));
}

}  // namespace

Data::Stream& findOrCreateStream(Scene& scene, const StreamAddress& address,
                                 const StreamToCreate& wanted, const std::string& index) {
    if (findStreamOrNull(*scene.accessor, address)) {
        Data::Stream& stream = findStream(*scene.accessor, address);
        demand("structure", stream.structure().name(), wanted.structure);
        demand("index type", stream.indexType(), wanted.indexType);
        return stream;
    }
    demandReadable(scene, address.node);
    if (!wanted.structure)
        throw CommandError(
            fmt::format("there is no stream {} yet: --structure says what to make "
                        "it of",
                        inQuotes(address.stream)));
    Data::Stream stream(findStructure(*scene.accessor, *wanted.structure), address.stream);
    const std::string type = wanted.indexType.value_or(indexTypeOf(index));
    if (type != stream.indexType())
        if (const auto set = stream.trySetIndexType(type); !set)
            throw CommandError(
                fmt::format("--index-type {}: {} The usual types are numeric, pair "
                            "and string.",
                            inQuotes(type), set.reason()));
    return *scene.accessor->associations()[address.node]
                .channel(address.channel)
                .setDataStream(stream);
}

}  // namespace orbo::Quilmeta
