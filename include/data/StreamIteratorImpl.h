// What walks a storage: the part that both kinds share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Handle.h>
#include <data/Index.h>
#include <debug/Export.h>
#include <debug/RefPtr.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace orbo::Data {

class Layout;
class StreamImpl;

/// The part of `StreamIterator` that knows the storage; programs use it through that. It is public
/// so that a loop takes most steps without a call: those within a stretch, where the elements have
/// consecutive numbers and their chunks lie at equal distances.
///
///     for (StreamIterator it = stream.begin(); it != stream.end(); ++it) ...
///
/// It owns one handle, which borrows the current element's chunk. Another handle that is assigned
/// to that one does not get into the storage, and is lost with the next step.
class METADATA_API StreamIteratorImpl {
  public:
    virtual ~StreamIteratorImpl();
    StreamIteratorImpl& operator=(const StreamIteratorImpl&) = delete;

    /// Makes a new one at the same place, which the caller owns.
    [[nodiscard]] virtual StreamIteratorImpl* clone() const = 0;
    /// Throws `std::out_of_range` when the iterator was made without a storage.
    [[nodiscard]] Handle& handle() {
        if (!fHandle) refuse();
        return *fHandle;
    }
    [[nodiscard]] const Handle& handle() const {
        return const_cast<StreamIteratorImpl*>(this)->handle();
    }
    /// Returns false at the end.
    [[nodiscard]] bool valid() const { return !fAtEnd; }
    /// Gives a copy of the current element's index.
    [[nodiscard]] virtual Index index() const = 0;
    /// Goes to the next element, and stays at the end. Looks first whether storage, structure and
    /// handle are as they were.
    void advance() {
        if (fStretch.number != fStretch.last && isUpToDate()) {
            ++fStretch.number;
            fStretch.chunk += fStretch.step;
            fHandle->fData = fStretch.chunk;
        } else if (!fAtEnd) {
            step();
        }
    }

    bool operator==(const StreamIteratorImpl& other) const {
        if (fAtEnd != other.fAtEnd) return false;
        return storage() == other.storage() && (fAtEnd || samePlace(other));
    }
    bool operator!=(const StreamIteratorImpl& other) const { return !(*this == other); }

  protected:
    /// Holds the current element and those behind it.
    struct Stretch {
        char* chunk = nullptr;
        std::size_t step = 0;  // bytes from one chunk to the next
        unsigned int number = 0;
        unsigned int last = 0;  // the number where it ends
    };

    StreamIteratorImpl() = default;
    StreamIteratorImpl(const StreamIteratorImpl& other);

    /// Points the handle at the stretch's first element, after a `syncToRead` of the storage.
    void enter(const Stretch& stretch, const StreamImpl& storage);
    /// The number of the current element in the stretch that was entered.
    [[nodiscard]] unsigned int number() const { return fStretch.number; }
    /// Tells whether nothing is left of the stretch, and storage and handle are as it was entered.
    [[nodiscard]] bool isPassed() const {
        return fStretch.number == fStretch.last && fChanges && isUpToDate();
    }
    /// Goes to the next element, or to the end. Called only when the iterator is not at the end.
    virtual void step() = 0;
    [[nodiscard]] virtual const StreamImpl* storage() const = 0;
    /// Compares with an iterator on the same storage; neither is at the end.
    [[nodiscard]] virtual bool samePlace(const StreamIteratorImpl& other) const = 0;

    bool fAtEnd = true;

  private:
    [[noreturn]] static void refuse();
    /// Tells whether storage and structure are as they were when the stretch was entered, and the
    /// handle shows the element. The changes come first: the structure may be gone with them.
    [[nodiscard]] bool isUpToDate() const {
        return *fChanges == fChangesSeen && fPresentLayout->get() == fLayout &&
               fHandle->fData == fStretch.chunk && fHandle->fLayout.get() == fLayout;
    }

    std::optional<Handle> fHandle;
    Stretch fStretch;
    // The storage's count of changes; not looked at where the stretch is at its end.
    const std::uint64_t* fChanges = nullptr;
    std::uint64_t fChangesSeen = 0;
    const RefPtr<Layout>* fPresentLayout = nullptr;  // where the structure keeps it
    const Layout* fLayout = nullptr;                 // of the chunks
};

}  // namespace orbo::Data
