// What differs between two scenes.
// SPDX-License-Identifier: Apache-2.0
#include "Differences.h"

#include <data/Channel.h>
#include <data/Stream.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "Bindings.h"
#include "Keys.h"
#include "Problems.h"
#include "Scenes.h"
#include "Selections.h"
#include "Signatures.h"
#include "Structures.h"
#include "TextOutput.h"
#include "Values.h"
#include "json/JsonValues.h"
#include "patches/DiffText.h"
#include "patches/Differences.h"
#include "patches/StreamValue.h"
#include "selection/SceneView.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using Quilmeta::Change;
using Quilmeta::JsonCursor;
using Quilmeta::ValueFromJson;
using Kind = Change::Kind;
using DifferencesPtr = std::shared_ptr<const DifferencesState>;
using ScenePtr = std::shared_ptr<SceneState>;

/// Null when there is no such scene, or no such stream in it.
const Data::Stream* streamIn(const Data::Accessor* scene, const Change& change) {
    if (!scene) return nullptr;
    const auto node = scene->associations().find(change.node);
    if (node == scene->associations().end()) return nullptr;
    const Data::Channel* const channel = std::as_const(node->second).findChannel(change.channel);
    return channel ? channel->findDataStream(change.stream) : nullptr;
}

StructurePtr structureOf(const Data::Stream* stream) {
    return stream ? StructurePtr(&stream->structure()) : StructurePtr();
}

bool isOfOneStream(const Change& ours, const Change& theirs) {
    return ours.node == theirs.node && ours.channel == theirs.channel &&
           ours.stream == theirs.stream;
}

/// Calls `use` with a reader of the JSON, which the library has written itself.
template <typename Use>
auto read(const std::string& json, Use&& use) {
    Quilmeta::JsonPath path;
    Quilmeta::JsonProblems problems;
    ValueFromJson from(path, problems);
    JsonCursor cursor(json);
    auto value = use(from, cursor);
    problems.demandNone();
    return value;
}

/// The values of one member, in an element that has no others.
nb::object memberValue(const std::string& json, const Data::Structure& structure,
                       const std::string& name) {
    const Data::Member& member = memberOf(structure, name);
    Data::Handle draft(structure);
    draft.setPositionByMemberName(name.c_str());
    void* const slot = draft.asType(member.type());
    read(json, [&](auto& from, auto& cursor) { return from.member(cursor, member, slot); });
    return valueOf(member, static_cast<const char*>(slot));
}

nb::object elementValue(const std::string& json, const Data::Structure& structure) {
    nb::dict values;
    if (structure.empty()) return values;
    Data::Handle draft(structure);
    read(json, [&](auto& from, auto& cursor) { return from.values(cursor, structure, draft); });
    for (const Data::Member& member : structure) {
        draft.setPositionByMemberName(member.name());
        const void* const slot = draft.asType(member.type());
        values[textOf(member.name())] = valueOf(member, static_cast<const char*>(slot));
    }
    return values;
}

nb::object streamValue(const std::string& json, const Change& change,
                       const StructurePtr& structure) {
    auto stream = read(json, [&](auto& from, auto& cursor) {
        return Quilmeta::streamFrom(from, cursor, change.stream,
                                    [&](const std::string&) { return structure.get(); });
    });
    return nb::cast(std::make_shared<StreamState>(std::move(*stream)));
}

nb::object structureValue(const std::string& json) {
    return nb::cast(StructureValue{
        read(json, [](auto& from, auto& cursor) { return from.structure(cursor); })});
}

/// Gives the value on one side: None, or what elements, streams and scenes have there.
nb::object sideOf(const Change& change, const std::string& json, const StructurePtr& structure) {
    if (change.kind != Kind::kSet && json == "null") return nb::none();
    switch (change.kind) {
        case Kind::kSet:
            return memberValue(json, *structure, change.member);
        case Kind::kElement:
            return elementValue(json, *structure);
        case Kind::kStream:
            return streamValue(json, change, structure);
        case Kind::kStructure:
            break;
    }
    return structureValue(json);
}

nb::object beforeOf(const DifferenceValue& self) {
    return sideOf(*self.change, self.change->before, self.types->before);
}

nb::object afterOf(const DifferenceValue& self) {
    return sideOf(*self.change, self.change->after, self.types->after);
}

nb::object indexOf(const DifferenceValue& self) {
    if (self.change->index.empty()) return nb::none();
    const auto index = read(self.change->index, [&](auto& from, auto& cursor) {
        return from.index(cursor, self.types->indexType);
    });
    return keyOf(*index);
}

const char* actionOf(const Change& change) {
    return change.adds() ? "added" : change.removes() ? "removed" : "changed";
}

/// Names a part, or None where the change is not about such a part.
nb::object nameOr(const std::string& name, bool hasIt) {
    if (!hasIt) return nb::none();
    return textOf(name);
}

/// The lines that the command prints for it.
std::string linesOf(const DifferenceValue& self) {
    Quilmeta::Patch one;
    one.changes.push_back(*self.change);
    TextOutput output;
    Quilmeta::printDifferences(one, {}, {}, output);
    // Without the lines that name the files.
    const std::string text = withoutLineEnd(output.text());
    return text.substr(text.find('\n', text.find('\n') + 1) + 1);
}

nb::str jsonOf(const DifferenceValue& self) {
    return textOf(Quilmeta::jsonOf(*self.change).text());
}

nb::object structureOr(const StructurePtr& structure) {
    return structure ? nb::cast(StructureValue{structure}) : nb::none();
}

StructurePtr structureIn(nb::handle value) {
    return value.is_none() ? StructurePtr() : nb::cast<StructureValue>(value).structure;
}

/// What pickle keeps, which `madeOf` takes.
nb::tuple reduced(const DifferenceValue& self) {
    const ChangeTypes& types = *self.types;
    return nb::make_tuple(nb::module_::import_("quilmeta._restore").attr("difference"),
                          nb::make_tuple(jsonOf(self), structureOr(types.before),
                                         structureOr(types.after), textOf(types.indexType)));
}

DifferenceValue madeOf(const nb::str& json, nb::handle before, nb::handle after,
                       const nb::str& indexType) {
    const std::string text =
        R"({ "quilmetaPatch": 1, "changes": [)" + bytesOf(json, "a change") + "] }";
    Quilmeta::JsonSource source{std::string_view(text)};
    Quilmeta::Patch patch = Quilmeta::readPatch(source);
    if (patch.changes.size() != 1) throw nb::value_error("that is not one change");
    Change& change = patch.changes.front();
    // It stands in no document.
    change.indexSource = change.beforeSource = change.afterSource = {};
    return differenceOf(std::move(change), {structureIn(before), structureIn(after),
                                            bytesOf(indexType, "an index type")});
}

nb::str shown(const DifferenceValue& self) {
    return textOf("<quilmeta.Difference " + std::string(actionOf(*self.change)) + ": " +
                  self.change->place() + '>');
}

nb::list itemsIn(const DifferencesPtr& self, const nb::slice& range) {
    nb::list items;
    const auto [start, stop, step, length] = range.compute(self->size());
    for (std::size_t k = 0; k < length; ++k)
        items.append(DifferencesState::at(
            self, static_cast<std::size_t>(start + static_cast<Py_ssize_t>(k) * step)));
    return items;
}

DifferenceValue itemAt(const DifferencesPtr& self, nb::handle key) {
    Py_ssize_t number = PyNumber_AsSsize_t(key.ptr(), PyExc_IndexError);
    if (number == -1 && PyErr_Occurred()) nb::raise_python_error();
    const auto size = static_cast<Py_ssize_t>(self->size());
    if (number < 0) number += size;
    if (number < 0 || number >= size) throw nb::index_error("there is no such difference");
    return DifferencesState::at(self, static_cast<std::size_t>(number));
}

std::string statisticsOf(const DifferencesState& self) {
    TextOutput output;
    Quilmeta::printStatistics(self.patch(), output);
    return output.text();
}

nb::str shown(const DifferencesState& self) {
    const std::size_t count = self.size();
    return textOf("<quilmeta.Differences from " + Quilmeta::inQuotes(self.files().file) + " to " +
                  Quilmeta::inQuotes(self.files().to) + ": " + std::to_string(count) +
                  (count == 1 ? " change>" : " changes>"));
}

/// A scene to compare: one that is open, or one that is read for it.
struct Side {
    Side(nb::handle source, double wait) {
        if (nb::try_cast(source, scene) && scene) return;
        const std::string file = sceneFile(source);
        scene = readInto(accessorFor(file, wait, Purpose::kLooking), file, false);
        isOwn = true;
    }
    [[nodiscard]] const Data::Accessor& accessor() const { return scene->accessor(); }

    ScenePtr scene;
    bool isOwn = false;
};

DifferencesPtr compare(const Side& left, const Side& right, const Quilmeta::Selection& selection) {
    const auto compared = [&] {
        return std::make_shared<const DifferencesState>(
            left.accessor(), right.accessor(), selection,
            Quilmeta::PatchFiles{left.accessor().fileName(), right.accessor().fileName()});
    };
    // Other threads may change what is open.
    if (!left.isOwn || !right.isOwn) return compared();
    const nb::gil_scoped_release unlocked;
    return compared();
}

DifferencesPtr diff(nb::handle left, nb::handle right, nb::handle node, nb::handle channel,
                    nb::handle stream, bool fixed, double wait) {
    patienceOf(wait);
    const auto selection = selectionOf(node, channel, stream, fixed).selection();
    const Side before(left, wait);
    const Side after(right, wait);
    return compare(before, after, selection);
}

void defineDifference(nb::module_& module) {
    nb::class_<DifferenceValue>(module, "Difference",
                                "One change, light: its values are made when they are asked for.")
        .def_prop_ro(
            "change",
            [](const DifferenceValue& self) { return Quilmeta::wordFor(self.change->kind); },
            nb::sig("def change(self) -> typing.Literal['set', 'element', 'stream', 'structure']"),
            "What it is about, as a patch calls it: the values of one member (\"set\"), an element "
            "that comes or goes, a stream as a whole, or a structure.")
        .def_prop_ro(
            "action", [](const DifferenceValue& self) { return actionOf(*self.change); },
            nb::sig("def action(self) -> typing.Literal['added', 'removed', 'changed']"))
        .def_prop_ro(
            "node",
            [](const DifferenceValue& self) {
                return nameOr(self.change->node, self.change->kind != Kind::kStructure);
            },
            nb::sig("def node(self) -> str | None"), "\"\" for the scene's own metadata.")
        .def_prop_ro(
            "channel",
            [](const DifferenceValue& self) {
                return nameOr(self.change->channel, self.change->kind != Kind::kStructure);
            },
            nb::sig("def channel(self) -> str | None"))
        .def_prop_ro(
            "stream",
            [](const DifferenceValue& self) {
                return nameOr(self.change->stream, self.change->kind != Kind::kStructure);
            },
            nb::sig("def stream(self) -> str | None"))
        .def_prop_ro("index", indexOf, nb::sig("def index(self) -> typing.Any"),
                     "The key of the element, as `Stream.loc` takes it, or None.")
        .def_prop_ro(
            "member",
            [](const DifferenceValue& self) {
                return nameOr(self.change->member, self.change->kind == Kind::kSet);
            },
            nb::sig("def member(self) -> str | None"))
        .def_prop_ro(
            "structure",
            [](const DifferenceValue& self) {
                return nameOr(self.change->structure, self.change->kind == Kind::kStructure);
            },
            nb::sig("def structure(self) -> str | None"), "The name of a structure that changed.")
        .def_prop_ro("before", beforeOf, nb::sig("def before(self) -> typing.Any"),
                     "The value of the member, a dict of the element's values, a Stream of no "
                     "scene, or a Structure; None where there was nothing.")
        .def_prop_ro("after", afterOf, nb::sig("def after(self) -> typing.Any"))
        .def_prop_ro(
            "place", [](const DifferenceValue& self) { return textOf(self.change->place()); },
            nb::sig("def place(self) -> str"), "The place in words, safe to be shown.")
        .def("to_json", jsonOf, "The change as a patch has it, on one line.")
        .def(
            "__eq__",
            [](const DifferenceValue& self, nb::handle other) {
                DifferenceValue* theirs = nullptr;
                return nb::try_cast(other, theirs) && theirs && jsonOf(self).equal(jsonOf(*theirs));
            },
            nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def("__hash__", [](const DifferenceValue& self) { return nb::hash(jsonOf(self)); })
        .def("__reduce__", reduced, nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"))
        .def("__str__", [](const DifferenceValue& self) { return textOf(linesOf(self)); })
        .def("__repr__", [](const DifferenceValue& self) { return shown(self); });
    module.def("_difference_of", madeOf, nb::arg("json"), nb::arg("before").none(),
               nb::arg("after").none(), nb::arg("index_type"),
               nb::sig("def _difference_of(json: str, before: Structure | None, "
                       "after: Structure | None, index_type: str) -> Difference"));
}

}  // namespace

ChangeTypes typesOf(const Change& change, const Data::Accessor* before,
                    const Data::Accessor* after) {
    const Data::Stream* const left = streamIn(before, change);
    const Data::Stream* const right = streamIn(after, change);
    const Data::Stream* const any = left ? left : right;
    return {structureOf(left), structureOf(right), any ? any->indexType() : std::string()};
}

DifferenceValue differenceOf(Change change, ChangeTypes types) {
    return {std::make_shared<const Change>(std::move(change)),
            std::make_shared<const ChangeTypes>(std::move(types))};
}

DifferencesState::DifferencesState(const Data::Accessor& before, const Data::Accessor& after,
                                   const Quilmeta::Selection& selection, Quilmeta::PatchFiles files)
    : fPatch(Quilmeta::differences(select(before, selection), select(after, selection))),
      fFiles(std::move(files)) {
    noteTypes(before, after);
}

/// The changes of a stream stand together.
void DifferencesState::noteTypes(const Data::Accessor& before, const Data::Accessor& after) {
    const Change* last = nullptr;
    for (std::size_t k = 0; k < size(); ++k) {
        const Change& change = fPatch.changes[k];
        if (last && isOfOneStream(*last, change)) continue;
        last = &change;
        fRuns.push_back({k, typesOf(change, &before, &after)});
    }
}

DifferenceValue DifferencesState::at(const DifferencesPtr& self, std::size_t number) {
    const auto behind =
        std::upper_bound(self->fRuns.begin(), self->fRuns.end(), number,
                         [](std::size_t wanted, const Run& run) { return wanted < run.first; });
    return {{self, &self->fPatch.changes[number]}, {self, &std::prev(behind)->types}};
}

std::string DifferencesState::text() const {
    TextOutput output;
    Quilmeta::printDifferences(fPatch, fFiles.file, fFiles.to, output);
    return output.text();
}

std::string DifferencesState::json() const {
    TextOutput output;
    Quilmeta::write(fPatch, output, &fFiles);
    return output.text();
}

void defineDifferences(nb::module_& module) {
    defineDifference(module);
    nb::class_<DifferencesState>(module, "Differences",
                                 "What makes one scene another one: a sequence of changes, which "
                                 "is false when there are none. Refers to no scene.")
        .def("__len__", &DifferencesState::size)
        .def("__bool__", [](const DifferencesState& self) { return self.size() > 0; })
        .def("__getitem__", itemsIn,
             nb::sig("def __getitem__(self, key: slice, /) -> list[Difference]"))
        .def("__getitem__", itemAt,
             nb::sig("def __getitem__(self, key: typing.SupportsIndex, /) -> Difference"))
        .def(
            "__iter__", [](nb::handle self) { return nb::steal(PySeqIter_New(self.ptr())); },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[Difference]"))
        .def(
            "to_json", [](const DifferencesState& self) { return textOf(self.json()); },
            "The patch, as `quilmeta diff --json` prints it.")
        .def_prop_ro(
            "patch",
            [](const DifferencesState& self) {
                return nb::module_::import_("json").attr("loads")(textOf(self.json()));
            },
            nb::sig("def patch(self) -> dict[str, typing.Any]"),
            "The patch as a document: a new dict each time.")
        .def(
            "stat", [](const DifferencesState& self) { return textOf(statisticsOf(self)); },
            "The counts of changes, as `quilmeta diff --stat` prints them.")
        .def(
            "__str__", [](const DifferencesState& self) { return textOf(self.text()); },
            "What `quilmeta diff` prints.")
        .def("__repr__", [](const DifferencesState& self) { return shown(self); });
    module.def(
        "diff", diff, nb::arg("before"), nb::arg("after"), nb::kw_only(),
        nb::arg("node") = nb::none(), nb::arg("channel") = nb::none(),
        nb::arg("stream") = nb::none(), nb::arg("fixed") = false, nb::arg("wait") = 10.0,
        nb::sig("def diff(before: Scene | " QUILMETA_PATH ", after: Scene | " QUILMETA_PATH
                ", *, " QUILMETA_SELECTION ", wait: float = 10.0) -> Differences"),
        "Compares structures, streams, elements and values bit by bit, of open scenes as they are "
        "in memory, or of files, of whatever kinds. `node`, `channel` and `stream` are patterns as "
        "the options of the command line take them, or names with `fixed`; where nothing matches, "
        "there is no difference. Raises what `open` raises.");
    nb::borrow<nb::class_<SceneState>>(nb::type<SceneState>())
        .def("diff", diff, nb::arg("after"), nb::kw_only(), nb::arg("node") = nb::none(),
             nb::arg("channel") = nb::none(), nb::arg("stream") = nb::none(),
             nb::arg("fixed") = false, nb::arg("wait") = 10.0,
             nb::sig("def diff(self, after: Scene | " QUILMETA_PATH ", *, " QUILMETA_SELECTION
                     ", wait: float = 10.0) -> Differences"),
             "What makes this scene, as it is in memory, the other one. See quilmeta.diff.");
}

}  // namespace orbo::Python
