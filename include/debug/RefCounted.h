// Intrusive, thread-safe reference count.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo {

namespace Debug {
class Footprint;
class Print;
}  // namespace Debug

/// A new object has a count of 0: whoever keeps it calls `ref` first. The `unref` that takes the
/// count from 1 to 0 deletes the object; one at 0 goes to -1 and deletes nothing.
///
///     Structure* structure = Structure::create();
///     structure->ref();
///     ...
///     structure->unref();  // deletes it, unless somebody else keeps it; `RefPtr` does both
class METADATA_API RefCounted {
  public:
    /// Both are safe in any number of threads at once.
    void ref() const;
    void unref() const;

    /// Gives the number of references at the moment, which another thread may change at once.
    [[nodiscard]] int refCount() const { return __atomic_load_n(&fRefCount, __ATOMIC_SEQ_CST); }
    [[nodiscard]] bool isShared() const { return refCount() > 1; }

    /// The first adds the object, the second prints the count. Both return true.
    static bool Debug(const RefCounted* object, Debug::Footprint& footprint);
    static bool Debug(const RefCounted* object, Debug::Print& print);

  protected:
    RefCounted() = default;
    /// The count belongs to the object: copies start at 0, assignment keeps the target's.
    RefCounted(const RefCounted&) {}
    RefCounted& operator=(const RefCounted&) { return *this; }
    virtual ~RefCounted();

  private:
    mutable int fRefCount = 0;  // changed atomically; <atomic> takes a compiler long
};

}  // namespace orbo
