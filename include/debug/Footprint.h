// Adds up the memory that an object graph occupies.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/Export.h>

namespace orbo::Debug {

class Print;

/// The bytes and blocks that a walk reaches. What is shared is counted each time it is reached.
///
///     Debug::Footprint footprint;
///     Associations::Debug(&associations, footprint);
///     std::cout << footprint.totalSize() << " bytes\n";
class METADATA_API Footprint {
  public:
    Footprint() = default;
    Footprint(const Footprint&) = default;
    Footprint& operator=(const Footprint&) = default;
    virtual ~Footprint();

    /// Starts again at 0.
    virtual void clear();
    /// Adds memory that belongs to an object: a name, an array, a data block.
    virtual void addMember(const void* address, unsigned long long bytes);
    /// Adds an object itself. A derived footprint that counts only members sets `fMembersOnly`.
    virtual void addObject(const void* address, unsigned long long bytes);

    /// Gives the sum of all bytes.
    [[nodiscard]] unsigned long long totalSize() const { return fTotalSize; }
    /// Gives the number of separate memory blocks.
    [[nodiscard]] unsigned long long totalFragments() const { return fTotalFragments; }

    static bool Debug(const Footprint* object, Footprint& footprint);
    static bool Debug(const Footprint* object, Print& print);

  protected:
    unsigned long long fTotalSize = 0;
    unsigned long long fTotalFragments = 0;
    bool fMembersOnly = false;
};

}  // namespace orbo::Debug
