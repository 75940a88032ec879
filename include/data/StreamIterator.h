// Walks the elements of a Stream in index order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Index.h>
#include <data/StreamIteratorImpl.h>
#include <debug/Export.h>
#include <debug/OwnedPtr.h>

#include <cstddef>
#include <string>  // it has the iterator categories; <iterator> takes a compiler long

namespace orbo::Data {

/// Yields a handle on the current element. The handle is the iterator's own, and each step points
/// it at the next element: put it on a member once, and it stays there. `Stream::elements` gives
/// the same walk as pairs.
///
///     for (StreamIterator it = stream.begin(); it != stream.end(); ++it) {
///         std::cout << it.index().asString() << ": " << it->get<float>("radius") << '\n';
///     }
///
/// The iterator does not keep the stream alive. It is good as long as handles on elements are, and
/// notices elements that are added. At the end its handle has no data.
class METADATA_API StreamIterator {
  public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Handle;
    using difference_type = std::ptrdiff_t;
    using pointer = Handle*;
    using reference = Handle&;

    /// Walks nothing. What is marked (*) throws `std::runtime_error` on it.
    StreamIterator();
    /// A copy walks on its own.
    StreamIterator(const StreamIterator& other);
    StreamIterator(StreamIterator&& other) noexcept;
    StreamIterator& operator=(const StreamIterator& other);
    StreamIterator& operator=(StreamIterator&& other) noexcept;
    ~StreamIterator();

    Handle& operator*() { return impl().handle(); }                // (*)
    const Handle& operator*() const { return impl().handle(); }    // (*)
    Handle* operator->() { return &impl().handle(); }              // (*)
    const Handle* operator->() const { return &impl().handle(); }  // (*)

    /// (*) Stays at the end.
    StreamIterator& operator++() {
        impl().advance();
        return *this;
    }
    /// (*) Inverted: leaves this iterator where it is and returns one a step further.
    [[nodiscard]] StreamIterator operator++(int);

    /// (*) Of the current element; at the end 4294967295 (dense) or 0 (mapped).
    [[nodiscard]] Index index() const;
    /// Returns false at the end, and for an iterator that walks nothing.
    [[nodiscard]] bool valid() const { return fImpl && fImpl->valid(); }

    /// Returns true for the same place in the same storage.
    bool operator==(const StreamIterator& other) const { return !(*this != other); }
    bool operator!=(const StreamIterator& other) const {
        if (!fImpl || !other.fImpl) return fImpl.get() != other.fImpl.get();
        return *fImpl != *other.fImpl;
    }

  protected:
    friend class Stream;
    /// Takes over `impl`.
    explicit StreamIterator(StreamIteratorImpl* impl);

    StreamIteratorImpl& impl() {
        if (!fImpl) refuse("No Stream Iterator implementation");
        return *fImpl;
    }
    [[nodiscard]] const StreamIteratorImpl& impl() const {
        if (!fImpl) refuse("No const Stream Iterator implementation");
        return *fImpl;
    }

  private:
    [[noreturn]] static void refuse(const char* problem);

    OwnedPtr<StreamIteratorImpl> fImpl;
};

}  // namespace orbo::Data
