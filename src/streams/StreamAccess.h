// Gives containers and formats access to parts of a stream that users do not see.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>

#include <cstdint>
#include <string>

namespace orbo::Data {

class ElementVisitor;
class Layout;
class StreamImpl;
class StreamImplMapped;

class StreamAccess {
  public:
    /// An empty, mapped, numeric stream named "Stream" with a structure of its own.
    static Stream unnamed();
    /// Does what `setElement` does, but takes over the chunk that the handle owns and the index. In
    /// index order this takes constant time in mapped storage. Afterwards the handle must not be
    /// used, even if the result is false; then the index is unchanged.
    static bool adoptElement(Stream& stream, Index&& index, Handle&& handle);
    /// The storage, for `StreamImpl::place`, if its chunks have this layout; null otherwise.
    static StreamImpl* placesOf(Stream& stream, const Layout& layout);
    /// The same for storage that is mapped; null where it is not.
    static StreamImplMapped* mappedPlacesOf(Stream& stream, const Layout& layout);
    /// The layout of the chunks that `visitElements` shows, until the structure changes.
    static const Layout& layoutOf(const Stream& stream);
    /// Shows all elements in order.
    static void visitElements(const Stream& stream, ElementVisitor& visitor);
    /// `Stream::setIndexType` for a type that need not be registered.
    static bool setIndexType(Stream& stream, const std::string& typeName);
    static void setName(Stream& stream, const std::string& name);
    /// Makes the stream object count in `count` how often it is assigned a stream of another name.
    /// `count` must live as long as the object; copies of the object do not count there.
    static void setRenameCount(Stream& stream, std::uint64_t& count);
    /// A number that grows whenever `setName` renames several stream objects at once.
    static std::uint64_t sharedRenames() noexcept;
};

}  // namespace orbo::Data
