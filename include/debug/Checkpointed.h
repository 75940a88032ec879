// Change stamps: has this object, its class or anything at all changed since?
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo {

namespace Debug {
class Footprint;
class Print;
}  // namespace Debug

/// Every change draws the next number of one library-wide sequence and stores it in the object.
/// Remember a number (`globalCheckpoint()`, `checkpoint()`) and ask later with the
/// `...ChangedSinceCheckpoint` tests, which are strict: a stamp equal to the number is no change.
///
///     const auto before = structure.checkpoint();
///     edit(structure);
///     if (structure.changedSinceCheckpoint(before)) redraw();
class METADATA_API Checkpointed {
  public:
    /// The first draws the next number, the second gives the last one that was drawn; the other
    /// three are about all objects that keep no counter of their own class.
    static unsigned long long globalChange();
    static unsigned long long globalCheckpoint();
    static unsigned long long sClassChanged();
    static unsigned long long sClassCheckpoint();
    static bool sClassChangedSinceCheckpoint(const unsigned long long& checkpoint);

    /// Overridden by classes that keep a class counter of their own.
    virtual unsigned long long classCheckpoint();
    virtual bool classChangedSinceCheckpoint(const unsigned long long& checkpoint);
    virtual unsigned long long classChanged();

    [[nodiscard]] unsigned long long checkpoint() const { return fCheckpoint; }
    [[nodiscard]] bool changedSinceCheckpoint(const unsigned long long& checkpoint) const {
        return fCheckpoint > checkpoint;
    }

    Checkpointed();
    /// Ticks twice, once as the assignment and once as a construction; takes nothing from `other`.
    Checkpointed(const Checkpointed& other);
    /// Ticks once; the source's checkpoint is not copied.
    Checkpointed& operator=(const Checkpointed& other);
    virtual ~Checkpointed();

    static bool Debug(const Checkpointed* object, Debug::Footprint& footprint);
    /// Null prints the class and the global counter.
    static bool Debug(const Checkpointed* object, Debug::Print& print);

  protected:
    unsigned long long objectChanged();

  private:
    unsigned long long fCheckpoint = 0;
};

}  // namespace orbo
