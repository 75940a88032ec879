// Compares the metadata of two scenes.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Differences.h"

#include "json/JsonElement.h"
#include "json/JsonText.h"
#include "patches/ElementBits.h"
#include "scene/ElementCompare.h"

#include <data/Member.h>
#include <data/Structure.h>
#include <fmt/format.h>

#include <utility>

namespace orbo::Quilmeta {

namespace {

using Kind = Change::Kind;

std::string json(std::string_view text) {
    std::string result;
    appendJson(result, text);
    return result;
}

const std::string& nameOf(const NodeView& node) { return node.name; }
const std::string& nameOf(const ChannelView& channel) { return channel.channel.name(); }
const std::string& nameOf(const Data::Stream& stream) { return stream.name(); }
std::string_view nameOf(const Data::Structure* structure) { return structure->name(); }

/// Walks two lists in the order of names. Calls `use` with the items of a name, of which one may be
/// null.
template <typename Item, typename Use>
void pairUp(const std::vector<Item>& left, const std::vector<Item>& right, Use&& use) {
    auto ours = left.begin();
    auto theirs = right.begin();
    while (ours != left.end() || theirs != right.end()) {
        const bool onlyOurs =
            theirs == right.end() || (ours != left.end() && nameOf(*ours) < nameOf(*theirs));
        const bool onlyTheirs =
            !onlyOurs && (ours == left.end() || nameOf(*theirs) < nameOf(*ours));
        const Item* const our = onlyTheirs ? nullptr : &*ours++;
        const Item* const their = onlyOurs ? nullptr : &*theirs++;
        use(our, their);
    }
}

/// Compares the elements of two streams with equal structures and index types.
class StreamDifferences {
  public:
    /// The names of the stream stand in `place`.
    StreamDifferences(const Data::Structure& structure, const Change& place, Patch& patch)
        : fStructure(structure),
          fBits(structure),
          fElement(structure, JsonFor::kPatch),
          fPlace(place),
          fPatch(patch) {}

    void compare(const Data::Stream& left, const Data::Stream& right) {
        const auto ours = left.elements();
        const auto theirs = right.elements();
        auto our = ours.begin();
        auto their = theirs.begin();
        while (our != ours.end() && their != theirs.end()) {
            if (our->index == their->index) {
                if (!fBits.areSame(our->element, their->element))
                    compareMembers(our->index, our->element, their->element);
                ++our;
                ++their;
            } else if (Data::Index(our->index) < Data::Index(their->index)) {
                remove(left, (our++)->index);
            } else {
                add(right, (their++)->index);
            }
        }
        for (; our != ours.end(); ++our) remove(left, our->index);
        for (; their != theirs.end(); ++their) add(right, their->index);
    }

  private:
    Change& addChange(Kind kind, const Data::Index& index) {
        Change& change = fPatch.changes.emplace_back(fPlace);
        change.kind = kind;
        appendIndex(change.index, index);
        return change;
    }

    void compareMembers(const Data::Index& index, Data::ConstHandle left, Data::ConstHandle right) {
        unsigned int position = 0;
        for (const Data::Member& member : fStructure) {
            left.setPositionByMemberIndex(position);
            right.setPositionByMemberIndex(position++);
            const void* ours = left.asType(member.type());
            const void* theirs = right.asType(member.type());
            if (ElementBits::areSame(member, ours, theirs)) continue;
            Change& change = addChange(Kind::kSet, index);
            change.member = member.name();
            appendMember(change.before, ours, member, JsonFor::kPatch);
            appendMember(change.after, theirs, member, JsonFor::kPatch);
        }
    }

    void remove(const Data::Stream& stream, const Data::Index& index) {
        Change& change = addChange(Kind::kElement, index);
        change.before = valuesAt(stream, index);
        change.after = "null";
    }
    void add(const Data::Stream& stream, const Data::Index& index) {
        Change& change = addChange(Kind::kElement, index);
        change.before = "null";
        change.after = valuesAt(stream, index);
    }

    /// The stream is only read: a handle on an element of a `const` stream shows too little.
    [[nodiscard]] std::string valuesAt(Data::Stream stream, const Data::Index& index) const {
        std::string text;
        Data::Handle element = stream.element(index);
        fElement.appendValues(text, element);
        return text;
    }

    const Data::Structure& fStructure;
    const ElementBits fBits;
    const JsonElement fElement;
    const Change& fPlace;
    Patch& fPatch;
};

class Comparison {
  public:
    void compareStructures(const SceneView& left, const SceneView& right, bool removed) {
        pairUp(left.structures, right.structures, [&](const auto* ours, const auto* theirs) {
            if (ours && theirs && **ours == **theirs) return;
            if (!theirs != removed) return;
            Change& change = patch.changes.emplace_back();
            change.kind = Kind::kStructure;
            change.structure = ours ? (*ours)->name() : (*theirs)->name();
            change.before = ours ? jsonOf(**ours) : "null";
            change.after = theirs ? jsonOf(**theirs) : "null";
        });
    }

    void compareNodes(const SceneView& left, const SceneView& right) {
        pairUp(left.nodes, right.nodes, [&](const NodeView* ours, const NodeView* theirs) {
            static const NodeView none;
            fPlace.node = ours ? ours->name : theirs->name;
            pairUp(ours ? ours->channels : none.channels, theirs ? theirs->channels : none.channels,
                   [&](const auto* our, const auto* their) { compare(our, their); });
        });
    }

    Patch patch;

  private:
    void compare(const ChannelView* left, const ChannelView* right) {
        static const std::vector<Data::Stream> none;
        fPlace.channel = left ? left->channel.name() : right->channel.name();
        pairUp(left ? left->streams : none, right ? right->streams : none,
               [&](const auto* our, const auto* their) { compare(our, their); });
    }

    void compare(const Data::Stream* left, const Data::Stream* right) {
        fPlace.stream = left ? left->name() : right->name();
        if (left && right && isAlike(*left, *right)) {
            if (*left == *right) return;
            return StreamDifferences(left->structure(), fPlace, patch).compare(*left, *right);
        }
        Change& change = patch.changes.emplace_back(fPlace);
        change.kind = Kind::kStream;
        change.before = left ? jsonOf(*left) : "null";
        change.after = right ? jsonOf(*right) : "null";
    }

    Change fPlace;
};

}  // namespace

std::string jsonOf(const Data::Stream& stream) {
    std::string text = "{ \"name\": " + json(stream.name()) +
                       ", \"structure\": " + json(stream.structure().name()) +
                       ", \"indexType\": " + json(stream.indexType()) + ", \"elements\": [";
    const JsonElement writer(stream.structure(), JsonFor::kPatch);
    const char* gap = "";
    for (Data::StreamIterator element = stream.cbegin(); element.valid(); ++element) {
        writer.append(text, gap, element);
        gap = ", ";
    }
    return text + "] }";
}

std::string jsonOf(const Data::Structure& structure) {
    std::string text = "{ \"name\": " + json(structure.name()) + ", \"members\": [";
    const char* gap = "";
    for (const Data::Member& member : structure) {
        text += fmt::format("{}{{ \"name\": {}, \"type\": \"{}\", \"length\": {} }}", gap,
                            json(member.name()), Data::Member::typeName(member.type()),
                            member.length());
        gap = ", ";
    }
    return text + "] }";
}

bool areSame(const Data::Stream& left, const Data::Stream& right) {
    Patch patch;
    if (!isAlike(left, right)) return false;
    StreamDifferences(left.structure(), {}, patch).compare(left, right);
    return patch.changes.empty();
}

Patch differences(const SceneView& left, const SceneView& right) {
    Comparison comparison;
    comparison.compareStructures(left, right, false);
    comparison.compareNodes(left, right);
    comparison.compareStructures(left, right, true);
    return std::move(comparison.patch);
}

}  // namespace orbo::Quilmeta
