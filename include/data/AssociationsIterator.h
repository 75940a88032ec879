// Walks the channels of an Associations in name order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/NameIterator.h>
#include <debug/Export.h>

namespace orbo::Data {

class Associations;
class Channel;

/// Good while the associations lives and its set of channels does not change; does not keep it
/// alive.
class METADATA_API AssociationsIterator : public NameIterator<AssociationsIterator, Channel> {
  public:
    /// Walks nothing; not valid.
    AssociationsIterator();
    AssociationsIterator(const AssociationsIterator& other);
    AssociationsIterator& operator=(const AssociationsIterator& other);
    ~AssociationsIterator();

  protected:
    friend class Associations;
    AssociationsIterator(const Associations& container, IterLocation location);
};

}  // namespace orbo::Data
