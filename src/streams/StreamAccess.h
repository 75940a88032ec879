// What containers and formats may do with a stream that its users may not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Stream.h>

#include <cstdint>
#include <string>

namespace orbo::Data {

class ElementVisitor;
class Layout;
class StreamImpl;

class StreamAccess {
  public:
    /// Empty: named "Stream", mapped, numeric, with an empty structure that no other stream has.
    static Stream unnamed();
    /// `setElement` with the chunk that the handle owns and the index moved in, not copied. In
    /// index order this takes constant time in mapped storage. Afterwards the handle must not be
    /// used for access, also when the result is false; the index is as it was then.
    static bool adoptElement(Stream& stream, Index&& index, Handle&& handle);
    /// For `StreamImpl::place`, with chunks of this layout; null when they have another.
    static StreamImpl* placesOf(Stream& stream, const Layout& layout);
    /// Of the chunks that `visitElements` finds as long as the structure stays as it is.
    static const Layout& layoutOf(const Stream& stream);
    /// Tells of all elements in order.
    static void visitElements(const Stream& stream, ElementVisitor& visitor);
    /// `Stream::setIndexType` for a type that need not be registered.
    static bool setIndexType(Stream& stream, const std::string& typeName);
    static void setName(Stream& stream, const std::string& name);
    /// Has the stream object count in `count` how often it is assigned one of another name. The
    /// number must live as long as the object; copies of the object do not count there.
    static void setRenameCount(Stream& stream, std::uint64_t& count);
    /// Grows whenever `setName` gives several stream objects another name.
    static std::uint64_t sharedRenames() noexcept;
};

}  // namespace orbo::Data
