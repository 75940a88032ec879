// Walks the channels of an Associations in name order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/NameIterator.h>
#include <debug/Export.h>

namespace orbo::Data {

class Associations;
class Channel;

/// Walks the channels in name order. It is good while the associations live and their set of
/// channels does not change, and does not keep them alive.
///
///     for (const Channel& channel : associations) std::cout << channel.name() << '\n';
class METADATA_API AssociationsIterator : public NameIterator<AssociationsIterator, Channel> {
  public:
    /// An iterator that walks nothing and is not valid.
    AssociationsIterator();
    AssociationsIterator(const AssociationsIterator& other);
    AssociationsIterator& operator=(const AssociationsIterator& other);
    ~AssociationsIterator();

  protected:
    friend class Associations;
    AssociationsIterator(const Associations& container, IterLocation location);
};

}  // namespace orbo::Data
