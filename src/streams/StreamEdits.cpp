// The edits of a stream that say why they were not made.
// SPDX-License-Identifier: Apache-2.0
#include <data/Stream.h>

#include <limits>
#include <string>

#include "core/HandleAccess.h"
#include "streams/IndexTypes.h"
#include "streams/StreamImplDense.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

namespace {

constexpr const char* kNoMemory = "There is not enough memory.";

std::string elementText(const Index& index) {
    return index.complexIndex() ? "element \"" + index.asString() + '"'
                                : "element " + index.asString();
}

EditResult missing(const Index& index) {
    return EditResult("There is no " + elementText(index) + ".");
}

EditResult notEmpty(const Stream& stream, const char* part) {
    const unsigned int count = stream.elementCount();
    return EditResult("The stream has " + std::to_string(count) +
                      (count == 1 ? " element" : " elements") +
                      ", and only an empty one changes its " + part + ".");
}

EditResult otherStructure(const Structure* handles, const Structure& streams) {
    const std::string name = handles ? handles->name() : "";
    if (name == streams.name())
        return EditResult("The handle's structure is not the stream's, though both are named \"" +
                          name + "\".");
    return EditResult("The handle is of structure \"" + name + "\", and the stream of \"" +
                      streams.name() + "\".");
}

/// Why dense storage did not take an element at the number.
EditResult noRoom(const StreamImpl& storage, unsigned int number) {
    constexpr std::uint64_t kFirstBlockBytes = 4096;
    if (number == std::numeric_limits<unsigned int>::max())
        return EditResult("Dense storage has no element 4294967295.");
    if (storage.layout().totalSize() > kFirstBlockBytes)
        return EditResult("Dense storage grows to element " + std::to_string(number) +
                          " of more than 4096 bytes only after `reserve`.");
    return EditResult(kNoMemory);
}

/// Why the elements of mapped storage cannot be moved to dense storage.
EditResult notDense(const StreamImplMapped& mapped) {
    if (!mapped.typed().empty())
        return EditResult("Dense storage takes numbers only, and there is " +
                          elementText(mapped.typed().begin()->first) + ".");
    if (mapped.numbered().size() != 0 && mapped.numbered().highest() == ~0U)
        return noRoom(mapped, mapped.numbered().highest());
    return EditResult(kNoMemory);
}

}  // namespace

EditResult Stream::trySetElement(const Index& index, const Handle& handle) {
    if (!handle.usesStructure(structure()))
        return otherStructure(HandleAccess::structure(handle), structure());
    if (setElement(index, handle)) return {};
    if (!isDense()) return EditResult(kNoMemory);
    if (!handle.hasData()) return EditResult("Dense storage takes no handle without data.");
    return noRoom(impl(), index.index());
}

EditResult Stream::tryReindexElement(const Index& from, const Index& to) {
    if (!hasElement(from)) return missing(from);
    return reindexElement(from, to) ? EditResult() : noRoom(impl(), to.index());
}

EditResult Stream::trySwapElements(const Index& first, const Index& second) {
    if (!hasElement(first)) return missing(first);
    if (!hasElement(second)) return missing(second);
    return swapElements(first, second) ? EditResult() : EditResult(kNoMemory);
}

EditResult Stream::tryMergeStream(const Stream& other) {
    Stream from(other);
    for (unsigned int k = 0; k < from.elementCount(); ++k) {
        const Handle handle = from.element(k);
        if (!handle.hasData()) continue;
        if (const EditResult set = trySetElement(Index(k), handle); !set)
            return EditResult("Element " + std::to_string(k) + " was not set. " + set.reason());
    }
    return {};
}

EditResult Stream::trySetStructure(const Structure& structure) {
    return setStructure(structure) ? EditResult() : notEmpty(*this, "structure");
}

EditResult Stream::trySetIndexType(const std::string& typeName) {
    try {
        if (setIndexType(typeName)) return {};
    } catch (Index::eCreationErrors) {
        return EditResult("There is no index type \"" + typeName + "\".");
    }
    if (!empty()) return notEmpty(*this, "index type");
    return EditResult("Nothing makes indices of type \"" + typeName + "\".");
}

EditResult Stream::tryUseDenseStorage(bool dense) {
    useDenseStorage(dense);
    if (isDense() == dense) return {};
    return dense ? notDense(static_cast<StreamImplMapped&>(impl())) : EditResult(kNoMemory);
}

}  // namespace orbo::Data
