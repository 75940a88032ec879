// Compares what was read back with what was to be written.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/model/ModelCompare.h"

#include <algorithm>
#include <cstring>

#include "core/DataTypes.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"
#include "scenes/Messages.h"
#include "scenes/model/ModelPlace.h"

namespace orbo::Data {

namespace {

template <typename T>
T valueAt(const char* slots, unsigned int i) {
    T value;
    std::memcpy(&value, slots + std::uint64_t{i} * sizeof value, sizeof value);
    return value;
}

const char* stringAt(const char* slots, unsigned int i) {
    const char* text = valueAt<const char*>(slots, i);
    return text ? text : "";
}

// Both chunks are laid out alike.
bool isSame(const Member& member, const char* left, const char* right) {
    left += member.offset();
    right += member.offset();
    const Member::eDataType type = member.type();
    if (type != Member::kString && type != Member::kBoolean) {
        const std::uint64_t bytes = std::uint64_t{member.length()} * dataType(type).size;
        return std::memcmp(left, right, bytes) == 0;
    }
    for (unsigned int i = 0; i < member.length(); ++i) {
        const bool same =
            type == Member::kString
                ? std::strcmp(stringAt(left, i), stringAt(right, i)) == 0
                : (valueAt<unsigned char>(left, i) != 0) == (valueAt<unsigned char>(right, i) != 0);
        if (!same) return false;
    }
    return true;
}

// The name of the first member that differs; null when all are the same.
const char* differingMember(const Handle& left, const Handle& right) {
    const char* const leftChunk = HandleAccess::data(left);
    const char* const rightChunk = HandleAccess::data(right);
    for (const Member& member : HandleAccess::layout(left).members()) {
        if (!leftChunk || !rightChunk || !isSame(member, leftChunk, rightChunk)) {
            return member.name();
        }
    }
    return nullptr;
}

unsigned int nonEmptyChannels(const Associations& associations) {
    return static_cast<unsigned int>(
        std::count_if(associations.begin(), associations.end(),
                      [](const Channel& channel) { return !channel.empty(); }));
}

// Appends the place and what is wrong with it.
class NodeCompare {
  public:
    NodeCompare(WrittenModel::Node node, std::string& errors) : fNode(node), fErrors(errors) {}

    bool compare(const Associations& readBack) {
        unsigned int channels = 0;
        for (const Channel& channel : *fNode.associations) {
            if (channel.empty()) continue;
            ++channels;
            const Channel* other = readBack.findChannel(channel.name());
            if (!other || other->dataStreamCount() != channel.dataStreamCount()) {
                return failAt(ModelPlace::of(*fNode.name, channel));
            }
            for (const Stream& stream : channel) {
                const Stream* otherStream = other->findDataStream(stream.name());
                if (!otherStream) return failAt(ModelPlace::of(*fNode.name, channel, stream));
                if (!compare(channel, stream, *otherStream)) return false;
            }
        }
        return channels == nonEmptyChannels(readBack) || failAt(ModelPlace::of(*fNode.name));
    }

  private:
    bool compare(const Channel& channel, const Stream& stream, const Stream& other) {
        if (stream.indexType() != other.indexType() || stream.structure() != other.structure() ||
            stream.elementCount() != other.elementCount()) {
            return failAt(ModelPlace::of(*fNode.name, channel, stream));
        }
        StreamIterator theirs = other.cbegin();
        for (StreamIterator ours = stream.cbegin(), end = stream.cend(); ours != end;
             ++ours, ++theirs) {
            const Index index = ours.index();
            const bool sameIndex = theirs.valid() && theirs.index() == index;
            const char* member = sameIndex ? differingMember(*ours, *theirs) : nullptr;
            if (sameIndex && !member) continue;
            return failAt(ModelPlace::of(*fNode.name, channel, stream, index),
                          member ? std::string("member '") + member + "' " : std::string());
        }
        return true;
    }

    bool failAt(const std::string& place, const std::string& what = {}) {
        return fail(fErrors, place + ": " + what + "would not read back as it is");
    }

    const WrittenModel::Node fNode;
    std::string& fErrors;
};

}  // namespace

bool isSame(const Associations& left, const Associations& right) {
    std::string ignored;
    const std::string name;
    return NodeCompare({&name, &left}, ignored).compare(right);
}

bool readBackIsSame(const WrittenModel& model, const Accessor::AssociationsMap& readBack,
                    std::string& errors) {
    for (const auto& structure : model.structures()) {
        const Structure* other = Structure::structureByName(structure->name());
        if (!other || *other != *structure) {
            return fail(errors, std::string("Structure '") + structure->name() +
                                    "' would not read back as it is");
        }
    }
    for (const WrittenModel::Node& node : model.nodes()) {
        const auto other = readBack.find(*node.name);
        if (other == readBack.end()) {
            return fail(errors, ModelPlace::of(*node.name) + " would not read back");
        }
        if (!NodeCompare(node, errors).compare(other->second)) return false;
    }
    return true;
}

}  // namespace orbo::Data
