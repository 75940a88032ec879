// Gives storage and formats access to parts of a handle that users do not see.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "core/Layout.h"

#include <data/ConstHandle.h>
#include <data/ElementHandle.h>
#include <data/Handle.h>
#include <data/Structure.h>

namespace orbo::Data {

class HandleAccess {
  public:
    /// A handle at the first member that borrows a chunk, or null, of this layout of the structure.
    static Handle borrow(const Structure& structure, const Layout& layout, char* data);
    /// Does the same for a handle that only reads.
    static ConstHandle look(const Structure& structure, const Layout& layout, const char* data) {
        ConstHandle handle(&structure, layout, data);
        if (layout.memberCount() != 0) handle.moveTo(&layout.member(0), 0);
        return handle;
    }
    /// `look`, on an element that may be changed.
    static ElementHandle edit(const Structure& structure, const Layout& layout, char* data) {
        return ElementHandle(look(structure, layout, data));
    }
    /// Borrows the element's chunk, at the same member.
    static Handle handleOn(const ElementHandle& element);
    /// A handle at the first member that owns the chunk.
    static Handle own(const Structure& structure, const Layout& layout, char* data);
    /// Makes a handle of the same structure borrow another chunk; it stays at its member.
    static void point(Handle& handle, const Layout& layout, char* data) {
        if (handle.fOwnsData || handle.fLayout.get() != &layout) {
            pointAnew(handle, layout, data);
        } else {
            handle.fData = data;
        }
    }
    /// Returns the chunk, which the caller now owns and frees by `layout(handle)`; null when the
    /// handle owns none.
    static char* release(Handle& handle);

    /// Throws `std::out_of_range` ("Const Member") at the end.
    static const Member& currentMember(const Handle& handle) { return handle.checkedCurrent(); }
    /// `Layout::kNoMember` at the end.
    static unsigned int memberIndex(const Handle& handle) { return handle.fIndex; }
    static char* data(const Handle& handle) { return handle.fData; }
    /// The layout that the data was made with.
    static const Layout& layout(const Handle& handle) { return *handle.fLayout; }
    static const char* data(const ConstHandle& handle) { return handle.fData; }
    static const Layout& layout(const ConstHandle& handle) { return *handle.fLayout; }
    static const Structure* structure(const ConstHandle& handle) { return handle.fStructure; }
    /// Null for a handle that was made without one.
    static const Structure* structure(const Handle& handle) { return handle.fStructure; }

  private:
    static void pointAnew(Handle& handle, const Layout& layout, char* data);
};

}  // namespace orbo::Data
