// What walks a storage: the part that both kinds share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Index.h>

#include <memory>
#include <optional>

namespace orbo::Data {

class StreamImpl;

/// Owns one handle that borrows the current element's chunk. Whatever is assigned to the handle
/// stays outside the storage and is gone with the next step.
class StreamIteratorImpl {
  public:
    virtual ~StreamIteratorImpl();
    StreamIteratorImpl& operator=(const StreamIteratorImpl&) = delete;

    [[nodiscard]] virtual std::unique_ptr<StreamIteratorImpl> clone() const = 0;
    /// Throws `std::out_of_range` when the iterator was made without a storage.
    [[nodiscard]] Handle& handle() {
        if (!fHandle) refuse();
        return *fHandle;
    }
    [[nodiscard]] const Handle& handle() const {
        return const_cast<StreamIteratorImpl*>(this)->handle();
    }
    [[nodiscard]] bool valid() const { return !fAtEnd; }
    [[nodiscard]] virtual Index index() const = 0;
    /// Stays at the end.
    void advance() {
        if (!fAtEnd) step();
    }

    bool operator==(const StreamIteratorImpl& other) const {
        if (fAtEnd != other.fAtEnd) return false;
        return storage() == other.storage() && (fAtEnd || samePlace(other));
    }
    bool operator!=(const StreamIteratorImpl& other) const { return !(*this == other); }

  protected:
    StreamIteratorImpl() = default;
    StreamIteratorImpl(const StreamIteratorImpl& other);

    /// Points the handle at a chunk of the storage.
    void pointAt(StreamImpl& storage, char* chunk);
    /// Of an iterator that is not at the end: to the next element, or to the end.
    virtual void step() = 0;
    [[nodiscard]] virtual const StreamImpl* storage() const = 0;
    /// Of two iterators on the same storage that are not at the end.
    [[nodiscard]] virtual bool samePlace(const StreamIteratorImpl& other) const = 0;

    bool fAtEnd = true;

  private:
    [[noreturn]] static void refuse();

    std::optional<Handle> fHandle;
};

}  // namespace orbo::Data
