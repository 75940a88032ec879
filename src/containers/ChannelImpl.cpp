// The streams that copies of a Channel share.
// SPDX-License-Identifier: Apache-2.0
#include "containers/ChannelImpl.h"

#include "debug/ObjectCounter.h"
#include "streams/StreamAccess.h"

#include <data/Handle.h>
#include <data/Structure.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>
#include <stdexcept>
#include <utility>

namespace orbo::Data {

const std::string& StreamName::operator()(const std::unique_ptr<Stream>& stream) const {
    if (!stream) throw std::invalid_argument("Null Stream found in Channel.");
    return stream->name();
}

ChannelImpl::ChannelImpl(const std::string& name) : fName(name) {}

ChannelImpl::ChannelImpl(const ChannelImpl& other)
    : RefCounted(other), Counted(other), fName(other.fName) {
    for (auto& entry : other.streams()) fStreams.insert(ownCopy(*entry.second));
}

ChannelImpl::~ChannelImpl() = default;

ChannelImpl::StreamSet& ChannelImpl::streams() const {
    fStreams.sort(renames());
    return fStreams;
}

// Both only grow.
std::uint64_t ChannelImpl::renames() const { return fRenames + StreamAccess::sharedRenames(); }

ChannelImpl::StreamSet::iterator ChannelImpl::findToChange(const std::string& name) {
    return fStreams.findToChange(name, renames());
}

std::unique_ptr<Stream> ChannelImpl::ownCopy(const Stream& stream) {
    auto copy = std::make_unique<Stream>(stream);
    StreamAccess::setRenameCount(*copy, fRenames);
    return copy;
}

Stream* ChannelImpl::setDataStream(const Stream& stream) {
    streams();
    const auto found = findToChange(stream.name());
    // The stream may be the second of two that came to share a name.
    for (auto same = found; same != fStreams.end() && same->first == found->first; ++same) {
        if (same->second.get() == &stream) return same->second.get();
    }
    auto copy = ownCopy(stream);
    if (found == fStreams.end()) return fStreams.insert(std::move(copy))->second.get();
    found->second = std::move(copy);
    return found->second.get();
}

Stream* ChannelImpl::dataStream(unsigned int position) const {
    const auto found = streams().at(position);
    return found == fStreams.end() ? nullptr : found->second.get();
}

Stream* ChannelImpl::findDataStream(const std::string& name) const {
    const auto found = fStreams.find(name, renames());
    return found == fStreams.end() ? nullptr : found->second.get();
}

bool ChannelImpl::removeDataStream(const std::string& name) {
    const auto found = findToChange(name);
    if (found == fStreams.end()) return false;
    fStreams.erase(found);
    return true;
}

ChannelImpl::Rename ChannelImpl::planRename(const std::string& oldName,
                                            const std::string& newName) {
    const auto found = findToChange(oldName);
    if (found == fStreams.end() || oldName == newName) return {found, false};
    return {found, findToChange(newName) != fStreams.end()};
}

bool ChannelImpl::renameDataStream(const std::string& oldName, const std::string& newName) {
    const auto [found, taken] = planRename(oldName, newName);
    if (found == fStreams.end()) return false;
    if (oldName == newName) return true;

    if (taken) fDropped.emplace_back();
    // Streams of one name may share their storage, and are then renamed together.
    const bool othersStay = fStreams.isSorted(renames()) && !fStreams.hasTwin(found);
    StreamAccess::setName(*found->second, newName);
    if (taken) {
        // A refused rename takes the stream out of the channel, as callers expect.
        fDropped.back() = std::move(found->second);
        fStreams.erase(found);
    } else {
        fStreams.file(found);
    }
    if (othersStay) fStreams.markSorted(renames());
    return !taken;
}

bool ChannelImpl::addElement(const Index& index, Stream** refused) {
    bool added = false;
    for (auto& entry : streams()) {
        Stream& stream = *entry.second;
        if (stream.indexType() != index.typeName()) continue;
        if (stream.setElement(index, Handle(stream.structure()))) {
            added = true;
        } else if (refused && !*refused) {
            *refused = &stream;
        }
    }
    return added;
}

bool ChannelImpl::removeElement(const Index& index) {
    bool removed = false;
    for (auto& entry : streams()) {
        Stream& stream = *entry.second;
        if (stream.indexType() == index.typeName() && stream.removeElement(index)) removed = true;
    }
    return removed;
}

bool ChannelImpl::makeUnique() {
    bool detached = false;
    StreamSet fresh;
    for (auto& entry : streams()) {
        auto copy = ownCopy(*entry.second);
        if (copy->makeUnique()) detached = true;
        fresh.insert(std::move(copy));
    }
    fStreams.swap(fresh);
    return detached;
}

bool ChannelImpl::Debug(const ChannelImpl* channel, Debug::Footprint& footprint) {
    if (!channel) return true;
    footprint.addObject(channel, sizeof(ChannelImpl));
    for (auto& entry : channel->streams()) {
        Stream::Debug(entry.second.get(), footprint);
    }
    return true;
}

bool ChannelImpl::Debug(const ChannelImpl* channel, Debug::Print& print) {
    if (!channel) return false;
    print.beginSection(("Channel " + channel->fName).c_str());
    StreamSet& streams = channel->streams();
    if (streams.size() == 0) print << "Empty Channel" << '\n';
    unsigned int number = 0;
    for (auto& entry : streams) {
        print.beginSection(("Stream " + std::to_string(number++)).c_str());
        Stream::Debug(entry.second.get(), print);
        print.endSection();
    }
    print.endSection();
    return true;
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::ChannelImpl>;
