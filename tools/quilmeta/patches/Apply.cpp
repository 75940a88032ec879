// Applies a patch to the metadata of a scene.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Apply.h"

#include "json/JsonElement.h"
#include "json/JsonValues.h"
#include "patches/Differences.h"
#include "patches/ElementBits.h"
#include "patches/StreamValue.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

#include <data/Channel.h>
#include <data/Structure.h>
#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <new>
#include <optional>
#include <tuple>
#include <utility>

namespace orbo::Quilmeta {

namespace {

using Kind = Change::Kind;
using Structure = RefPtr<const Data::Structure>;

/// Text of a value for a message.
std::string shortened(const std::string& json) {
    constexpr size_t kMost = 120;
    return json.size() <= kMost ? json : safeLine(json.substr(0, kMost)) + "...";
}

class PatchRun {
  public:
    explicit PatchRun(Data::Accessor& scene) : fScene(scene) {
        for (const Data::Structure* structure : select(scene, {}).structures)
            fStructures.emplace(structure->name(), structure);
    }

    ApplyProblems run(const Patch& patch) {
        const auto isAbout = [](const Change& change, bool structures, bool removed) {
            return (change.kind == Kind::kStructure) == structures &&
                   (!structures || change.removes() == removed);
        };
        for (const Change& change : patch.changes)
            if (isAbout(change, true, false)) changeStructure(change);
        for (const Change& change : patch.changes)
            if (isAbout(change, false, false)) changeStream(change);
        for (const Change& change : patch.changes)
            if (isAbout(change, true, true)) changeStructure(change);
        if (fProblems.empty() && fStructuresChanged) checkUsers();
        if (fProblems.empty()) commit();
        return std::move(fProblems);
    }

  private:
    using StreamKey = std::tuple<std::string, std::string, std::string>;
    /// A stream as it is after the changes so far.
    struct Staged {
        std::optional<Data::Stream> stream;
        bool isOwn = false;  // not shared with the scene
        Data::Handle draft = {};
    };

    void problem(const Change& change, const std::string& message) {
        Change place = change;
        place.before.clear();
        place.after.clear();
        fProblems.ofScene.push_back({std::move(place), message});
    }

    /// A problem of the patch, whatever the scene has.
    void fault(const Change& change, const Change::Source& source, const std::string& message) {
        JsonPath path = pathOf(change, source);
        JsonProblems problems;
        problems.add(source.line, path, message);
        addFaults(change, source, problems);
    }
    void addFaults(const Change& change, const Change::Source& source,
                   const JsonProblems& problems) {
        if (source.line == 0)
            for (const std::string& message : problems.messages()) problem(change, message);
        else
            fProblems.ofPatch.add(problems);
    }
    static JsonPath pathOf(const Change& change, const Change::Source& source) {
        JsonPath path;
        if (source.line == 0) return path;
        path.enter("changes");
        path.enter(change.number);
        path.enter(source.key);
        return path;
    }

    /// Calls `use` with a reader for JSON values. False, with problems about the change, when the
    /// values are wrong.
    template <typename Use>
    bool read(const Change& change, const std::string& json, const Change::Source& source,
              Use&& use) {
        JsonPath path = pathOf(change, source);
        JsonProblems problems;
        ValueFromJson from(path, problems);
        JsonCursor cursor(json, std::max<size_t>(source.line, 1));
        use(from, cursor);
        addFaults(change, source, problems);
        return problems.empty();
    }

    void expected(const Change& change, const std::string& found) {
        problem(change, fmt::format("is {} instead of {}", shortened(found),
                                    shortened(onOneLine(change.before))));
    }

    void changeStructure(const Change& change) {
        const auto there = fStructures.find(change.structure);
        Structure before, after;
        const auto parse = [&](const std::string& json, const Change::Source& source,
                               Structure& structure) {
            if (json == "null") return true;
            return read(change, json, source,
                        [&](auto& from, auto& cursor) { structure = from.structure(cursor); });
        };
        if (!parse(change.before, change.beforeSource, before) ||
            !parse(change.after, change.afterSource, after))
            return;
        const bool isSame =
            there == fStructures.end() ? !before : before && *there->second == *before;
        if (!isSame)
            return expected(change, there == fStructures.end() ? "null" : jsonOf(*there->second));
        if (after && change.structure != after->name())
            return fault(change, change.afterSource, "has another name");
        fStructuresChanged = true;
        if (!after)
            fStructures.erase(there);
        else
            fStructures[change.structure] = after;
    }

    void changeStream(const Change& change) {
        Staged& staged = stagedFor(change);
        if (change.kind == Kind::kStream) return replaceStream(change, staged);
        if (!staged.stream) return problem(change, "there is no such stream");
        std::optional<Data::Index> index;
        read(change, change.index, change.indexSource, [&](auto& from, auto& cursor) {
            index = from.index(cursor, staged.stream->indexType());
        });
        if (!index) return;
        makeOwn(staged);
        if (change.kind == Kind::kSet)
            setMember(change, *index, staged);
        else
            replaceElement(change, *index, staged);
    }

    Staged& stagedFor(const Change& change) {
        const auto [found, isNew] =
            fStaged.try_emplace(StreamKey(change.node, change.channel, change.stream));
        if (!isNew) return found->second;
        auto& nodes = fScene.associations();
        const auto node = nodes.find(change.node);
        Data::Channel* channel =
            node == nodes.end() ? nullptr : node->second.findChannel(change.channel);
        Data::Stream* stream = channel ? channel->findDataStream(change.stream) : nullptr;
        if (stream) found->second.stream = *stream;
        return found->second;
    }

    static void makeOwn(Staged& staged) {
        if (!staged.isOwn) staged.stream->makeUnique();
        staged.isOwn = true;
    }

    /// An element to read values into, which is made once for a stream.
    static Data::Handle& draftOf(Staged& staged) {
        const Data::Structure& structure = staged.stream->structure();
        if (!staged.draft.hasData() || !staged.draft.usesStructure(structure))
            staged.draft = Data::Handle(structure);
        if (!staged.draft.hasData() && !structure.empty()) throw std::bad_alloc();
        return staged.draft;
    }

    void setMember(const Change& change, const Data::Index& index, Staged& staged) {
        Data::Handle element = staged.stream->element(index);
        if (!element.hasData()) return problem(change, "there is no such element");
        if (!element.setPositionByMemberName(change.member.c_str()))
            return problem(change, "there is no such member");
        const Data::Member& member = memberOf(staged.stream->structure(), change.member);
        Data::Handle& draft = draftOf(staged);
        draft.setPositionByMemberName(change.member.c_str());
        void* const slot = draft.asType(member.type());
        void* const values = element.asType(member.type());
        const auto parse = [&](const std::string& json, const Change::Source& source) {
            return read(change, json, source,
                        [&](auto& from, auto& cursor) { from.member(cursor, member, slot); });
        };
        if (!parse(change.before, change.beforeSource)) return;
        if (!ElementBits::areSame(member, slot, values)) {
            std::string found;
            appendMember(found, values, member, JsonFor::kPatch);
            return expected(change, found);
        }
        if (parse(change.after, change.afterSource)) ElementBits::swap(member, slot, values);
    }

    static const Data::Member& memberOf(const Data::Structure& structure, const std::string& name) {
        for (const Data::Member& member : structure)
            if (name == member.name()) return member;
        throw std::logic_error("a handle has a member that its structure lacks");
    }

    /// Reads an element's values into the draft.
    bool readValues(const Change& change, const std::string& json, const Change::Source& source,
                    Staged& staged) {
        const Data::Structure& structure = staged.stream->structure();
        if (!couldHold(json, structure))
            return fault(change, source, "has fewer values than the structure"), false;
        Data::Handle& draft = draftOf(staged);
        return read(change, json, source,
                    [&](auto& from, auto& cursor) { from.values(cursor, structure, draft); });
    }

    void replaceElement(const Change& change, const Data::Index& index, Staged& staged) {
        Data::Stream& stream = *staged.stream;
        Data::Handle element = stream.element(index);
        const bool isThere = stream.hasElement(index);
        if (isThere == change.adds()) return expected(change, textOf(stream, element, isThere));
        if (isThere) {
            if (!readValues(change, change.before, change.beforeSource, staged)) return;
            if (!ElementBits(stream.structure()).areSame(staged.draft, element))
                return expected(change, textOf(stream, element, isThere));
        }
        if (change.removes()) {
            stream.removeElement(index);
        } else if (readValues(change, change.after, change.afterSource, staged)) {
            if (!stream.setElement(index, staged.draft)) throw std::bad_alloc();
        }
    }

    static std::string textOf(const Data::Stream& stream, Data::Handle& element, bool isThere) {
        if (!isThere) return "null";
        std::string text;
        JsonElement(stream.structure(), JsonFor::kPatch).appendValues(text, element);
        return text;
    }

    /// Makes a stream of its JSON. Nothing, with problems, when that is wrong.
    std::optional<Data::Stream> streamOf(const Change& change, const std::string& json,
                                         const Change::Source& source,
                                         const StructureFor& structureFor) {
        std::optional<Data::Stream> stream;
        const bool isGood = read(change, json, source, [&](auto& from, auto& cursor) {
            stream = streamFrom(from, cursor, change.stream, structureFor);
        });
        return isGood ? stream : std::nullopt;
    }

    void replaceStream(const Change& change, Staged& staged) {
        if (staged.stream.has_value() == change.adds())
            return expected(change, staged.stream ? jsonOf(*staged.stream) : "null");
        if (staged.stream) {
            const Data::Structure& ours = staged.stream->structure();
            const auto old = streamOf(
                change, change.before, change.beforeSource,
                [&](const std::string& name) { return name == ours.name() ? &ours : nullptr; });
            if (!old) return;
            if (!areSame(*staged.stream, *old)) return expected(change, jsonOf(*staged.stream));
        }
        std::optional<Data::Stream> fresh;
        if (!change.removes()) {
            fresh =
                streamOf(change, change.after, change.afterSource, [&](const std::string& name) {
                    const auto found = fStructures.find(name);
                    return found == fStructures.end() ? nullptr : found->second.get();
                });
            if (!fresh) return;
        }
        staged = Staged();
        staged.stream = fresh;
        staged.isOwn = true;
    }

    [[nodiscard]] const Staged* stagedAt(const std::string& node, const Data::Channel& channel,
                                         const Data::Stream& stream) const {
        const auto found = fStaged.find(StreamKey(node, channel.name(), stream.name()));
        return found == fStaged.end() ? nullptr : &found->second;
    }

    /// A structure that is gone or changed must not be used any more in its old form.
    void checkUsers() {
        const auto check = [&](const Data::Stream& stream, const std::string& node,
                               const std::string& channel) {
            const auto found = fStructures.find(stream.structure().name());
            if (found != fStructures.end() && *found->second == stream.structure()) return;
            Change place{Kind::kStream, {}, node, channel, stream.name()};
            problem(place, fmt::format("uses the structure {}, which the patch {}",
                                       inQuotes(stream.structure().name()),
                                       found == fStructures.end() ? "removes" : "changes"));
        };
        for (const auto& [key, staged] : fStaged)
            if (staged.stream) check(*staged.stream, std::get<0>(key), std::get<1>(key));
        for (const auto& [name, node] : std::as_const(fScene).associations())
            for (const Data::Channel& channel : node)
                for (const Data::Stream& stream : channel)
                    if (!stagedAt(name, channel, stream)) check(stream, name, channel.name());
    }

    void commit() {
        if (fStructuresChanged) {
            Data::Accessor::StructureSet set;
            for (const auto& [name, structure] : fStructures) set.insert(structure.get());
            fScene.setStructures(set);
        }
        for (const auto& [key, staged] : fStaged) {
            const auto& [node, channel, stream] = key;
            if (staged.stream)
                fScene.associations()[node].channel(channel).setDataStream(*staged.stream);
            else
                remove(node, channel, stream);
        }
    }

    /// Removes a stream, and the channel and the node that are empty then.
    void remove(const std::string& node, const std::string& channel, const std::string& stream) {
        auto& nodes = fScene.associations();
        const auto found = nodes.find(node);
        Data::Channel* there = found == nodes.end() ? nullptr : found->second.findChannel(channel);
        if (!there || !there->removeDataStream(stream) || !there->empty()) return;
        found->second.removeChannel(channel);
        if (found->second.empty()) nodes.erase(found);
    }

    Data::Accessor& fScene;
    std::map<std::string, Structure> fStructures;
    bool fStructuresChanged = false;
    std::map<StreamKey, Staged> fStaged;
    ApplyProblems fProblems;
};

}  // namespace

std::string ApplyProblems::sceneText() const {
    std::string text;
    for (const ApplyProblem& problem : ofScene) text += problem.text() + '\n';
    return text;
}

ApplyProblems apply(const Patch& patch, Data::Accessor& scene) {
    return PatchRun(scene).run(patch);
}

}  // namespace orbo::Quilmeta
