// The channels that copies of an Associations share.
// SPDX-License-Identifier: Apache-2.0
#include "containers/AssociationsImpl.h"

#include "containers/ChannelAccess.h"
#include "debug/ObjectCounter.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>

namespace orbo::Data {

AssociationsImpl::AssociationsImpl() = default;

AssociationsImpl::AssociationsImpl(const AssociationsImpl& other)
    : RefCounted(other), Counted(other) {
    for (auto& entry : other.channels()) insert(fChannels, entry.second);
}

AssociationsImpl::~AssociationsImpl() = default;

AssociationsImpl::ChannelSet& AssociationsImpl::channels() const {
    fChannels.sort(fRenames);
    return fChannels;
}

Channel& AssociationsImpl::insert(ChannelSet& channels, const Channel& channel) {
    Channel& stored = channels.insert(channel)->second;
    ChannelAccess::setOwner(stored, *this);
    return stored;
}

Channel AssociationsImpl::channel(const std::string& name) {
    if (const Channel* found = findChannel(name)) return *found;
    return insert(fChannels, Channel(name));
}

Channel* AssociationsImpl::channelAt(unsigned int position) const {
    const auto found = channels().at(position);
    return found == fChannels.end() ? nullptr : &found->second;
}

Channel* AssociationsImpl::findChannel(const std::string& name) const {
    const auto found = fChannels.find(name, fRenames);
    return found == fChannels.end() ? nullptr : &found->second;
}

void AssociationsImpl::setChannel(const Channel& channel) {
    if (Channel* found = findChannel(channel.name())) {
        *found = channel;
    } else {
        insert(fChannels, channel);
    }
}

bool AssociationsImpl::removeChannel(const std::string& name) {
    const auto found = fChannels.findToChange(name, fRenames);
    if (found == fChannels.end()) return false;
    fChannels.erase(found);
    return true;
}

bool AssociationsImpl::makeUnique() {
    bool detached = false;
    ChannelSet fresh;
    for (auto& entry : channels()) {
        Channel copy = entry.second;  // shares with the stored one, so it is detached in any case
        if (copy.makeUnique()) detached = true;
        insert(fresh, copy);
    }
    fChannels.swap(fresh);
    return detached;
}

bool AssociationsImpl::Debug(const AssociationsImpl* associations, Debug::Footprint& footprint) {
    if (!associations) return true;
    footprint.addObject(associations, sizeof(AssociationsImpl));
    for (auto& entry : associations->channels()) Channel::Debug(&entry.second, footprint);
    return true;
}

bool AssociationsImpl::Debug(const AssociationsImpl* associations, Debug::Print& print) {
    if (!associations) return false;
    print << "Data Associations" << '\n';
    ChannelSet& channels = associations->channels();
    if (channels.size() == 0) print << "No channels" << '\n';
    for (auto& entry : channels) Channel::Debug(&entry.second, print);
    return false;  // callers know this dump by it
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::AssociationsImpl>;
