// The channels that copies of an Associations share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "containers/NameOrdered.h"

#include <data/Channel.h>
#include <debug/Counted.h>
#include <debug/RefCounted.h>

#include <cstdint>
#include <string>

namespace orbo::Data {

struct ChannelName {
    const std::string& operator()(const Channel& channel) const { return channel.name(); }
};

class AssociationsImpl : public RefCounted, public Counted<AssociationsImpl> {
  public:
    using ChannelSet = NameOrdered<Channel, ChannelName>;

    AssociationsImpl();
    /// Shares the channels.
    AssociationsImpl(const AssociationsImpl& other);
    AssociationsImpl& operator=(const AssociationsImpl&) = delete;
    ~AssociationsImpl() override;

    /// In order of the names as they are now.
    ChannelSet& channels() const;
    /// In whatever order, for sizes and ends.
    [[nodiscard]] ChannelSet& unsortedChannels() const { return fChannels; }

    Channel channel(const std::string& name);
    /// Null when there is none.
    [[nodiscard]] Channel* channelAt(unsigned int position) const;
    [[nodiscard]] Channel* findChannel(const std::string& name) const;
    void setChannel(const Channel& channel);
    bool removeChannel(const std::string& name);
    /// Replaces each channel by a deep copy; true when one of them has streams.
    bool makeUnique();

    /// A channel in here was assigned one of another name.
    void noteRename() { ++fRenames; }

    using Counted<AssociationsImpl>::Debug;
    static bool Debug(const AssociationsImpl* associations, Debug::Footprint& footprint);
    /// Always false.
    static bool Debug(const AssociationsImpl* associations, Debug::Print& print);

  private:
    Channel& insert(ChannelSet& channels, const Channel& channel);

    mutable ChannelSet fChannels;  // sorted when first needed, also by readers: see NameOrdered
    std::uint64_t fRenames = 0;
};

}  // namespace orbo::Data
