// A named set of streams that describe the same elements.
// SPDX-License-Identifier: Apache-2.0
#include <data/Channel.h>

#include "containers/AssociationsImpl.h"
#include "containers/ChannelImpl.h"
#include "containers/SharedParts.h"
#include "debug/ObjectCounter.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>

namespace orbo::Data {

Channel::Channel() : Channel("Unnamed") {}

Channel::Channel(const std::string& name) : fImpl(new ChannelImpl(name)) { fImpl->ref(); }

Channel::Channel(const Channel& other) : Counted(other), fImpl(other.fImpl) { fImpl->ref(); }

Channel& Channel::operator=(const Channel& other) {
    if (fOwner && name() != other.name()) fOwner->noteRename();
    shareParts(fImpl, other.fImpl);
    return *this;
}

Channel::~Channel() { fImpl->unref(); }

bool Channel::operator==(const Channel& other) const { return fImpl == other.fImpl; }

const std::string& Channel::name() const { return fImpl->name(); }

Stream* Channel::setDataStream(const Stream& stream) { return fImpl->setDataStream(stream); }

Stream* Channel::dataStream(unsigned int position) { return fImpl->dataStream(position); }

const Stream* Channel::dataStream(unsigned int position) const {
    return fImpl->dataStream(position);
}

Stream* Channel::findDataStream(const std::string& name) { return fImpl->findDataStream(name); }

const Stream* Channel::findDataStream(const std::string& name) const {
    return fImpl->findDataStream(name);
}

bool Channel::removeDataStream(const std::string& name) { return fImpl->removeDataStream(name); }

bool Channel::renameDataStream(const std::string& oldName, const std::string& newName) {
    return fImpl->renameDataStream(oldName, newName);
}

bool Channel::addElement(const Index& index) { return fImpl->addElement(index); }

bool Channel::removeElement(const Index& index) { return fImpl->removeElement(index); }

unsigned int Channel::dataStreamCount() const { return fImpl->unsortedStreams().size(); }

bool Channel::makeUnique() { return makePartsUnique(fImpl); }

ChannelIterator Channel::begin() const { return {*this, ChannelIterator::kBegin}; }

ChannelIterator Channel::end() const { return {*this, ChannelIterator::kEnd}; }

bool Channel::Debug(const Channel* channel, Debug::Footprint& footprint) {
    if (channel) footprint.addObject(channel, sizeof(Channel));
    return ChannelImpl::Debug(channel ? channel->fImpl : nullptr, footprint);
}

bool Channel::Debug(const Channel* channel, Debug::Print& print) {
    return ChannelImpl::Debug(channel ? channel->fImpl : nullptr, print);
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Channel>;
