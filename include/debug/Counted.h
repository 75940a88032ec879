// Counts the objects of a class.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo {

namespace Debug {
class Count;
class ObjectCounter;
}  // namespace Debug

/// The base of a class `T` whose objects are counted: every constructor counts, and so does the
/// destructor. The numbers are exact whatever number of threads make objects. Takes no space in the
/// object.
template <typename T>
class METADATA_API Counted {
  public:
    /// Gives the number of objects that were ever made.
    static unsigned long long objectsCreated();
    /// Gives the number of those that were not destroyed yet.
    static unsigned long long objectsAlive();
    /// Sets `count` to the objects alive; the pointer may be null.
    static bool Debug(const T* object, Debug::Count& count);

  protected:
    struct Uncounted {};

    Counted() noexcept;
    /// This serves a constructor that leaves its object out of both numbers; the destructor still
    /// counts.
    explicit Counted(Uncounted) noexcept {}
    Counted(const Counted&) noexcept : Counted() {}
    Counted& operator=(const Counted&) noexcept = default;
    ~Counted();

  private:
    static Debug::ObjectCounter _objects;
};

}  // namespace orbo
