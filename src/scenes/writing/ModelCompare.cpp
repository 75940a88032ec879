// Compares what was read back with what was to be written.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/ModelCompare.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "core/DataTypes.h"
#include "core/Excerpt.h"
#include "core/HandleAccess.h"
#include "core/Layout.h"
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

// Both chunks have the same layout.
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

/// Finds the first place where two states of a node differ.
class NodeCompare {
  public:
    explicit NodeCompare(WrittenModel::Node node, const KeptTexts* kept = nullptr)
        : fNode(node), fKept(kept) {}

    bool compare(const Associations& readBack) {
        unsigned int channels = 0;
        for (const Channel& channel : *fNode.associations) {
            if (channel.empty()) continue;
            ++channels;
            const Channel* other = readBack.findChannel(channel.name());
            if (!other || other->dataStreamCount() != channel.dataStreamCount()) {
                return failAt({*fNode.name, &channel});
            }
            for (const Stream& stream : channel) {
                const Stream* otherStream = other->findDataStream(stream.name());
                if (!otherStream) return failAt({*fNode.name, &channel, &stream});
                if (!compare(channel, stream, *otherStream)) return false;
            }
        }
        return channels == nonEmptyChannels(readBack) || failAt({*fNode.name});
    }

    std::optional<Finding>& difference() { return fDifference; }

  private:
    bool compare(const Channel& channel, const Stream& stream, const Stream& other) {
        const KeptText* const kept = keptOf(stream);
        if (stream.indexType() != other.indexType() || stream.structure() != other.structure() ||
            (!kept && stream.elementCount() != other.elementCount())) {
            return failAt({*fNode.name, &channel, &stream});
        }
        StreamIterator theirs = other.cbegin();
        std::size_t number = 0;
        for (StreamIterator ours = stream.cbegin(), end = stream.cend(); ours != end; ++ours) {
            if (kept && kept->keeps(number++)) continue;
            const Index index = ours.index();
            const bool sameIndex = theirs.valid() && theirs.index() == index;
            const char* member = sameIndex ? differingMember(*ours, *theirs) : nullptr;
            if (!sameIndex || member) {
                return failAt({*fNode.name, &channel, &stream, &index, member});
            }
            ++theirs;
        }
        return !theirs.valid() || failAt({*fNode.name, &channel, &stream});
    }

    [[nodiscard]] const KeptText* keptOf(const Stream& stream) const {
        if (!fKept) return nullptr;
        const auto found = fKept->find(&stream);
        return found == fKept->end() ? nullptr : &found->second;
    }

    bool failAt(const ModelPlace::Spot& spot) {
        const std::string member =
            spot.member ? "member " + inQuotes(spot.member) + " " : std::string();
        fDifference = spot.finding(member + "would not read back as it is");
        return false;
    }

    const WrittenModel::Node fNode;
    const KeptTexts* const fKept;
    std::optional<Finding> fDifference;
};

Finding withMessage(std::string message) {
    Finding finding;
    finding.message = std::move(message);
    return finding;
}

}  // namespace

bool isSame(const Associations& left, const Associations& right) {
    const std::string name;
    return NodeCompare({&name, &left}).compare(right);
}

std::optional<Finding> differenceOf(const WrittenModel::Node& node, const KeptTexts& kept,
                                    const Associations& readBack) {
    NodeCompare comparison(node, &kept);
    comparison.compare(readBack);
    return std::move(comparison.difference());
}

std::optional<Finding> differenceOf(const WrittenModel& model,
                                    const Accessor::AssociationsMap& readBack,
                                    const std::set<std::string>& leftOut) {
    for (const auto& structure : model.structures()) {
        const Structure* other = Structure::structureByName(structure->name());
        if (other && *other == *structure) continue;
        return withMessage(std::string("Structure '") + structure->name() +
                           "' would not read back as it is");
    }
    for (const WrittenModel::Node& node : model.nodes()) {
        const auto other = readBack.find(*node.name);
        if (other == readBack.end()) {
            Finding missing = withMessage(ModelPlace::of(*node.name) + " would not read back");
            missing.node = *node.name;
            return missing;
        }
        if (leftOut.count(*node.name) > 0 && other->second.empty()) continue;
        NodeCompare comparison(node);
        if (!comparison.compare(other->second)) return comparison.difference();
    }
    return std::nullopt;
}

}  // namespace orbo::Data
