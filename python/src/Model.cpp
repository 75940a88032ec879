// What Python objects refer to: a scene and its parts, alive as long as somebody refers to them.
// SPDX-License-Identifier: Apache-2.0
#include "Model.h"

#include <data/Channel.h>

#include <new>
#include <utility>

#include "Problems.h"
#include "scene/SceneFile.h"
#include "streams/StreamAccess.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Data::Stream;
using Data::Structure;
using Quilmeta::inQuotes;

template <typename Parts>
std::vector<std::string> namesIn(const Parts& parts) {
    std::vector<std::string> names;
    for (const auto& part : parts) names.push_back(part.name());
    return names;
}

/// Whether the indices are 0, 1, 2 and so on.
bool countsUp(const Stream& stream) {
    const unsigned int count = stream.elementCount();
    if (count == 0 || stream.indexType() != Data::Index::theTypeName()) return false;
    unsigned int next = 0;
    for (const auto& [index, element] : stream.elements()) {
        if (index.complexIndex() || index.index() != next || !element.hasData()) return false;
        ++next;
    }
    return next == count;
}

}  // namespace

const SceneState* Part::scene() const {
    const Part* part = this;
    while (part->owner()) part = part->owner();
    return dynamic_cast<const SceneState*>(part);
}

void Part::demandPresent() const {
    if (isRemoved()) raise("StaleError", description() + " has been removed");
}

void Part::demandWritable() const {
    demandPresent();
    const Part* part = this;
    while (part->owner()) part = part->owner();
    part->demandOpen();
}

SceneState::SceneState(std::unique_ptr<Data::Accessor> accessor, bool writable)
    : fAccessor(std::move(accessor)),
      fWritable(writable),
      fComplete(Quilmeta::isComplete(fAccessor->findings())) {}

std::string SceneState::description() const { return "scene " + inQuotes(fAccessor->fileName()); }

void SceneState::demandOpen() const {
    if (fClosed) raise("ReadOnlyError", description() + " is closed");
    if (!fWritable)
        raise("ReadOnlyError", description() + " is open to be read only; open it with \"r+\"");
    if (fIsBeingSaved) raise("BusyError", description() + " is being saved by another thread");
}

SceneState::Saving::Saving(SceneState& scene) : fScene(scene) {
    scene.demandWritable();
    scene.fIsBeingSaved = true;
}

std::shared_ptr<NodeState> SceneState::node(const std::string& name) {
    auto& nodes = fAccessor->associations();
    const auto found = nodes.find(name);
    if (found == nodes.end()) return nullptr;
    return fNodes.get(
        name, [&] { return std::make_shared<NodeState>(shared_from_this(), name, found->second); });
}

std::shared_ptr<NodeState> SceneState::addNode(const std::string& name) {
    fAccessor->associations()[name];
    return node(name);
}

void SceneState::removeNode(const std::string& name) {
    fNodes.noteRemoved(name);
    fAccessor->associations().erase(name);
}

std::vector<std::string> SceneState::names() const {
    std::vector<std::string> names;
    for (const auto& [name, associations] : std::as_const(*fAccessor).associations())
        if (!name.empty()) names.push_back(name);
    return names;
}

StructurePtr SceneState::adopt(const StructurePtr& structure) {
    const auto& known = fAccessor->structures();
    const auto found = known.find(structure.get());
    if (found == known.end()) {
        auto more = known;
        more.insert(structure.get());
        fAccessor->setStructures(more);
        return structure;
    }
    if (**found != *structure)
        raise("RefusedError",
              "the scene has another structure " + inQuotes(structure->name()) + " already");
    return StructurePtr(*found);
}

void SceneState::changeInBulk(const StreamTest& mayMove, const std::function<void()>& change) {
    demandWritable();
    fNodes.visit([&](const std::string&, const NodeState& node) { node.demandMovable(mayMove); });
    try {
        change();
    } catch (...) {
        renewParts(mayMove);
        throw;
    }
    renewParts(mayMove);
}

void SceneState::renewParts(const StreamTest& mayMove) {
    auto& nodes = fAccessor->associations();
    fNodes.renew([&](const std::string& name, NodeState& node) {
        // The scene's own metadata always is there, if without a channel.
        if (name.empty()) nodes[name];
        const auto found = nodes.find(name);
        if (found == nodes.end()) return false;
        node.renew(found->second, mayMove);
        return true;
    });
}

std::string NodeState::description() const {
    return fName.empty() ? "the scene's own metadata" : "node " + inQuotes(fName);
}

std::shared_ptr<ChannelState> NodeState::channel(const std::string& name) {
    const Data::Channel* const found = std::as_const(fAssociations).findChannel(name);
    if (!found) return nullptr;
    return fChannels.get(
        name, [&] { return std::make_shared<ChannelState>(shared_from_this(), *found); });
}

std::shared_ptr<ChannelState> NodeState::addChannel(const std::string& name) {
    fAssociations.channel(name);
    return channel(name);
}

void NodeState::removeChannel(const std::string& name) {
    fChannels.noteRemoved(name);
    fAssociations.removeChannel(name);
}

std::vector<std::string> NodeState::names() const { return namesIn(fAssociations); }

void NodeState::demandMovable(const StreamTest& mayMove) const {
    fChannels.visit(
        [&](const std::string&, const ChannelState& channel) { channel.demandMovable(mayMove); });
}

void NodeState::renew(const Data::Associations& now, const StreamTest& mayMove) {
    fAssociations = now;
    fChannels.renew([&](const std::string& name, ChannelState& channel) {
        const Data::Channel* const found = std::as_const(fAssociations).findChannel(name);
        if (found) channel.renew(*found, mayMove);
        return found != nullptr;
    });
}

std::string ChannelState::description() const { return "channel " + inQuotes(name()); }

std::shared_ptr<StreamState> ChannelState::stream(const std::string& name) {
    Stream* const found = fChannel.findDataStream(name);
    if (!found) return nullptr;
    return fStreams.get(name,
                        [&] { return std::make_shared<StreamState>(shared_from_this(), *found); });
}

std::shared_ptr<StreamState> ChannelState::setStream(const Stream& stream) {
    const std::string name = stream.name();
    fStreams.noteRemoved(name);
    fChannel.setDataStream(stream);
    return this->stream(name);
}

void ChannelState::removeStream(const std::string& name) {
    fStreams.noteRemoved(name);
    fChannel.removeDataStream(name);
}

std::vector<std::string> ChannelState::names() const { return namesIn(fChannel); }

void ChannelState::demandMovable(const StreamTest& mayMove) const {
    fStreams.visit([&](const std::string& stream, const StreamState& state) {
        if (mayMove(fNode->name(), name(), stream)) state.demandMovable();
    });
}

void ChannelState::renew(const Data::Channel& now, const StreamTest& mayMove) {
    fChannel = now;
    fStreams.renew([&](const std::string& stream, StreamState& state) {
        Data::Stream* const found = fChannel.findDataStream(stream);
        if (found) state.renew(*found, mayMove(fNode->name(), name(), stream));
        return found != nullptr;
    });
}

// The stored stream must not be looked at once it is gone.
std::string StreamState::description() const {
    return isRemoved() ? "a stream" : "stream " + inQuotes(fStored->name());
}

void StreamState::demandMovable() const {
    if (!hasViews()) return;
    throw nb::buffer_error((description() + " has elements whose memory " + std::to_string(fViews) +
                            (fViews == 1 ? " array shares" : " arrays share") +
                            "; copy and delete the array first")
                               .c_str());
}

const std::vector<Data::Index>& StreamState::indices() {
    if (!fListed || fListed->generation != fGeneration) {
        Listed listed{fGeneration, {}};
        listed.indices.reserve(fStored->elementCount());
        for (const auto& [index, element] : std::as_const(*fStored).elements())
            listed.indices.push_back(index);
        fListed = std::move(listed);
    }
    return fListed->indices;
}

void StreamState::renew(Stream& now, bool isMoved) {
    if (isMoved || fStored != &now) noteMoved();
    fStored = &now;
}

bool StreamState::makeDense() {
    if (fStored->isDense()) return true;
    if (!countsUp(*fStored)) return false;
    fStored->useDenseStorage(true);
    noteMoved();
    return fStored->isDense();
}

void StreamState::makeMapped() {
    if (!fStored->isDense()) return;
    fStored->useDenseStorage(false);
    if (fStored->isDense()) throw std::bad_alloc();
    noteMoved();
}

}  // namespace orbo::Python
