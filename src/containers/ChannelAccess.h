// What formats and associations may do with a channel that its users may not.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "containers/ChannelImpl.h"

#include <data/Channel.h>

#include <string>

namespace orbo::Data {

class ChannelAccess {
  public:
    /// Only for a channel that nobody else has seen yet: no associations learns of it.
    static void setName(Channel& channel, const std::string& name) { channel.fImpl->setName(name); }
    /// The associations that the channel object lies in, told when it comes to have another name.
    static void setOwner(Channel& channel, AssociationsImpl& owner) { channel.fOwner = &owner; }
};

}  // namespace orbo::Data
