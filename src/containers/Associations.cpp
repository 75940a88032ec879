// The whole metadata of one object: a set of channels by name.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>

#include "containers/AssociationsImpl.h"
#include "containers/SharedParts.h"
#include "debug/ObjectCounter.h"

#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>

namespace orbo::Data {

Associations::Associations() : Associations(nullptr) {}

Associations::Associations(const Associations& other) : Associations(&other) {}

Associations::Associations(const Associations* other)
    : fImpl(other ? other->fImpl : new AssociationsImpl) {
    fImpl->ref();
}

Associations* Associations::create() { return new Associations; }

Associations& Associations::operator=(const Associations& other) {
    shareParts(fImpl, other.fImpl);
    return *this;
}

Associations::~Associations() { fImpl->unref(); }

bool Associations::operator==(const Associations& other) const { return fImpl == other.fImpl; }

Channel Associations::channel(const std::string& name) { return fImpl->channel(name); }

Channel Associations::channelAt(unsigned int position) const {
    const Channel* found = fImpl->channelAt(position);
    return found ? *found : Channel();
}

const Channel* Associations::operator[](unsigned int position) const {
    return fImpl->channelAt(position);
}

Channel* Associations::findChannel(const std::string& name) { return fImpl->findChannel(name); }

const Channel* Associations::findChannel(const std::string& name) const {
    return fImpl->findChannel(name);
}

// A value: the caller's channel may lie in these very associations.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void Associations::setChannel(Channel channel) { fImpl->setChannel(channel); }

bool Associations::removeChannel(const std::string& name) { return fImpl->removeChannel(name); }

// The test is inverted, and callers count on it: a channel that exists is never renamed.
bool Associations::renameChannel(const std::string&, const std::string&) { return false; }

unsigned int Associations::channelCount() const { return fImpl->unsortedChannels().size(); }

bool Associations::makeUnique() { return makePartsUnique(fImpl); }

AssociationsIterator Associations::begin() const { return {*this, AssociationsIterator::kBegin}; }

AssociationsIterator Associations::end() const { return {*this, AssociationsIterator::kEnd}; }

bool Associations::Debug(const Associations* associations, Debug::Footprint& footprint) {
    if (associations) footprint.addObject(associations, sizeof(Associations));
    return AssociationsImpl::Debug(associations ? associations->fImpl : nullptr, footprint);
}

bool Associations::Debug(const Associations* associations, Debug::Print& print) {
    return AssociationsImpl::Debug(associations ? associations->fImpl : nullptr, print);
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Associations>;
