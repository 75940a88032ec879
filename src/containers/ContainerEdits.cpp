// The edits of channels and associations that say why they were not made.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/Structure.h>

#include <string>

#include "containers/ChannelImpl.h"

namespace orbo::Data {

namespace {

std::string quoted(const char* kind, const std::string& name) {
    return std::string(kind) + " \"" + name + '"';
}

EditResult missing(const std::string& part, const std::string& owner) {
    return EditResult("There is no " + part + " in " + owner + '.');
}

EditResult taken(const std::string& part, const std::string& owner) {
    return EditResult("There is a " + part + " in " + owner + " already.");
}

EditResult noneOfType(const Index& index, const std::string& channel) {
    return missing("stream with indices of type \"" + index.typeName() + '"', channel);
}

constexpr const char* kAssociations = "the associations";

}  // namespace

EditResult Channel::tryAddDataStream(const Stream& stream) {
    if (findDataStream(stream.name()))
        return taken(quoted("stream", stream.name()), quoted("channel", name()));
    setDataStream(stream);
    return {};
}

EditResult Channel::tryRemoveDataStream(const std::string& streamName) {
    if (removeDataStream(streamName)) return {};
    return missing(quoted("stream", streamName), quoted("channel", name()));
}

EditResult Channel::tryRenameDataStream(const std::string& oldName, const std::string& newName) {
    const ChannelImpl::Rename plan = fImpl->planRename(oldName, newName);
    if (plan.isTaken) return taken(quoted("stream", newName), quoted("channel", name()));
    if (renameDataStream(oldName, newName)) return {};
    return missing(quoted("stream", oldName), quoted("channel", name()));
}

EditResult Channel::tryAddElement(const Index& index) {
    Stream* refused = nullptr;
    if (fImpl->addElement(index, &refused)) return {};
    if (!refused) return noneOfType(index, quoted("channel", name()));
    const EditResult result = refused->trySetElement(index, Handle(refused->structure()));
    if (result) return {};
    return EditResult(quoted("Stream", refused->name()) + " did not take the element. " +
                      result.reason());
}

EditResult Channel::tryRemoveElement(const Index& index) {
    return removeElement(index) ? EditResult() : noneOfType(index, quoted("channel", name()));
}

EditResult Associations::tryAddChannel(const Channel& channel) {
    if (findChannel(channel.name())) return taken(quoted("channel", channel.name()), kAssociations);
    setChannel(channel);
    return {};
}

EditResult Associations::tryRemoveChannel(const std::string& name) {
    return removeChannel(name) ? EditResult() : missing(quoted("channel", name), kAssociations);
}

}  // namespace orbo::Data
