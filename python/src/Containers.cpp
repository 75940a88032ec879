// Nodes and channels: mappings of names to what they have.
// SPDX-License-Identifier: Apache-2.0
#include "Containers.h"

#include "Bindings.h"
#include "Mappings.h"
#include "Problems.h"
#include "Streams.h"
#include "Structures.h"
#include "Tables.h"
#include "values/SafeText.h"

namespace orbo::Python {

namespace {

using ChannelPtr = std::shared_ptr<ChannelState>;
using NodePtr = std::shared_ptr<NodeState>;
using Quilmeta::inQuotes;

ChannelPtr part(const NodePtr& node, const std::string& name) { return node->channel(name); }
std::shared_ptr<StreamState> part(const ChannelPtr& channel, const std::string& name) {
    return channel->stream(name);
}
constexpr const char* kindOfParts(const NodePtr&) { return "channel"; }
constexpr const char* kindOfParts(const ChannelPtr&) { return "stream"; }

/// Gives the part of that name; throws `UnknownNameError`.
template <typename Owner>
auto demandPart(const Owner& owner, const std::string& name) {
    owner->demandPresent();
    if (auto found = part(owner, name)) return found;
    raiseUnknown(kindOfParts(owner), name, owner->description(), owner->names());
}

template <typename Owner>
std::string shown(const Owner& owner, const char* className) {
    const std::string start = std::string("<quilmeta.") + className;
    if (owner->isRemoved()) return start + ", removed>";
    const auto count = owner->names().size();
    return start + ' ' + inQuotes(owner->name()) + ": " + std::to_string(count) + ' ' +
           kindOfParts(owner) + (count == 1 ? ">" : "s>");
}

/// Compares the parts by name.
template <typename Owner>
bool isEqual(const Owner& self, nb::handle other) {
    Owner theirs;
    if (!nb::try_cast(other, theirs) || !theirs) return false;
    return isSamePart(self, theirs);
}

template <typename Owner>
nb::list partsOf(const Owner& owner) {
    nb::list parts;
    for (const std::string& name : owner->names()) parts.append(part(owner, name));
    return parts;
}

void takeCopy(const ChannelPtr& channel, const std::string& name, const StreamState& source) {
    channel->demandWritable();
    Data::Stream copy = copyOf(source, name);
    adoptStructure(*channel, StructurePtr(&copy.structure()));
    channel->setStream(copy);
}

void fill(const ChannelPtr& channel, const ChannelPtr& source) {
    for (const std::string& name : source->names()) takeCopy(channel, name, *source->stream(name));
}

/// Takes the name, and copies of all streams.
void takeCopy(const NodePtr& node, const std::string& name, const ChannelPtr& source) {
    node->demandWritable();
    source->demandPresent();
    const ChannelPtr copy = copyOf(source, name);
    node->removeChannel(name);
    fill(node->addChannel(name), copy);
}

std::shared_ptr<StreamState> addStream(const ChannelPtr& channel, const nb::str& name,
                                       nb::handle source, nb::handle indexType, nb::handle data,
                                       nb::handle index) {
    const std::string text = bytesOf(name, "the name of a stream");
    const auto demandFree = [&] {
        channel->demandWritable();
        if (channel->stream(text))
            throw nb::value_error(
                (channel->description() + " has a stream " + inQuotes(text)).c_str());
    };
    demandFree();
    const StreamSource from{source, indexType, data, index};
    std::shared_ptr<StreamState> given;
    const bool isCopy = data.is_none() && nb::try_cast(source, given) && given;
    if (!isCopy && from.hasRows()) given = streamOfRows(name, from);
    const StructurePtr structure = given ? StructurePtr() : structureOf(source);
    demandFree();  // still, for Python code has run
    if (given) {
        takeCopy(channel, text, *given);
        return channel->stream(text);
    }
    return channel->setStream(
        newStream(adoptStructure(*channel, structure), text, from.indexTypeOrNumeric()));
}

/// Stores a copy of a stream, or the rows of a table.
void setStream(const ChannelPtr& channel, const nb::str& name, nb::handle source) {
    const std::string text = bytesOf(name, "a name");
    channel->demandWritable();
    std::shared_ptr<StreamState> given;
    if (!nb::try_cast(source, given) || !given) {
        if (!isTable(source))
            throw nb::type_error((std::string("a stream or a table is stored, not ") +
                                  nb::type_name(source.type()).c_str())
                                     .c_str());
        const auto old = channel->stream(text);
        given = old ? streamLike(*old, source)
                    : streamOfRows(name, {source, nb::none(), nb::none(), nb::none()});
    }
    takeCopy(channel, text, *given);
}

ChannelPtr addChannel(const NodePtr& node, const nb::str& name) {
    const std::string text = bytesOf(name, "the name of a channel");
    node->demandWritable();
    if (node->channel(text))
        throw nb::value_error((node->description() + " has a channel " + inQuotes(text)).c_str());
    return node->addChannel(text);
}

ChannelPtr madeChannel(const nb::str& name, const nb::list& streams) {
    auto channel = std::make_shared<ChannelState>(nullptr, Data::Channel(bytesOf(name, "a name")));
    for (nb::handle stream : streams) {
        const auto& state = nb::cast<std::shared_ptr<StreamState>>(stream);
        takeCopy(channel, state->stream().name(), *state);
    }
    return channel;
}

NodePtr madeNode(const nb::str& name, const nb::list& channels) {
    auto node = std::make_shared<NodeState>(nullptr, bytesOf(name, "a name"), Data::Associations());
    for (nb::handle channel : channels) {
        const auto state = nb::cast<ChannelPtr>(channel);
        takeCopy(node, state->name(), state);
    }
    return node;
}

/// What nodes and channels have alike.
template <typename State, typename Class>
void defineMapping(Class& type, const char* className, const char* partName, const char* maker) {
    using Owner = std::shared_ptr<State>;
    const auto sig = [](const std::string& text) { return nb::sig(text.c_str()); };
    type.def_prop_ro("name",
                     [](const Owner& self) {
                         self->demandPresent();
                         return textOf(self->name());
                     })
        .def("__len__",
             [](const Owner& self) {
                 self->demandPresent();
                 return self->names().size();
             })
        .def(
            "__iter__",
            [](const Owner& self) {
                self->demandPresent();
                return nb::iter(textsOf(self->names()));
            },
            nb::sig("def __iter__(self) -> collections.abc.Iterator[str]"))
        .def(
            "__contains__",
            [](const Owner& self, nb::handle name) {
                self->demandPresent();
                return PyUnicode_Check(name.ptr()) && part(self, bytesOf(name, "a name"));
            },
            kAnything, nb::sig("def __contains__(self, name: object, /) -> bool"))
        .def(
            "__getitem__",
            [](const Owner& self, nb::handle name) {
                return demandPart(self, bytesOf(name, "a name"));
            },
            kAnything, sig(std::string("def __getitem__(self, name: str, /) -> ") + partName))
        .def(
            "get",
            [](const Owner& self, nb::handle name, nb::handle otherwise) -> nb::object {
                self->demandPresent();
                if (PyUnicode_Check(name.ptr()))
                    if (auto found = part(self, bytesOf(name, "a name"))) return nb::cast(found);
                return nb::borrow(otherwise);
            },
            nb::arg("name").none(), nb::arg("default") = nb::none(),
            sig(std::string("def get(self, name: object, default: typing.Any = None) -> ") +
                partName + " | typing.Any"))
        .def("__eq__", isEqual<Owner>, kAnything,
             nb::sig("def __eq__(self, other: object, /) -> bool"))
        .def(
            "__reduce__",
            [maker](const Owner& self) {
                self->demandPresent();
                return nb::make_tuple(nb::module_::import_("quilmeta._restore").attr(maker),
                                      nb::make_tuple(textOf(self->name()), partsOf(self)));
            },
            nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"))
        .def(
            "copy",
            [](const Owner& self) {
                self->demandPresent();
                return copyOf(self, self->name());
            },
            "One of its own, with copies of everything below.")
        .def("__copy__",
             [](const Owner& self) {
                 self->demandPresent();
                 return copyOf(self, self->name());
             })
        .def(
            "__deepcopy__",
            [](const Owner& self, nb::handle) {
                self->demandPresent();
                return copyOf(self, self->name());
            },
            sig(std::string("def __deepcopy__(self, memo: typing.Any, /) -> ") + className))
        .def("__repr__", [className](const Owner& self) { return textOf(shown(self, className)); });
    defineViews(type, partName);
    refuseHash(type);
}

void defineChannel(nb::module_& module) {
    nb::class_<ChannelState> type(module, "Channel", nb::is_weak_referenceable(),
                                  "What a node's streams are about: a mapping of their names.");
    defineMapping<ChannelState>(type, "Channel", "Stream", "channel");
    type.def("__setitem__", setStream, nb::arg(), kAnything,
             nb::sig("def __setitem__(self, name: str, stream: typing.Any, /) -> None"),
             "Stores a copy of a stream, in place of one of the same name; or the rows of a table, "
             "as elements of the structure that the stream of this name has, if there is one.")
        .def(
            "__delitem__",
            [](const ChannelPtr& self, const nb::str& name) {
                const std::string text = bytesOf(name, "a name");
                self->demandWritable();
                demandPart(self, text);
                self->removeStream(text);
            },
            nb::sig("def __delitem__(self, name: str, /) -> None"))
        .def("add", addStream, nb::arg("name"), nb::arg("source") = nb::none(),
             nb::arg("index_type") = nb::none(), nb::kw_only(), nb::arg("data") = nb::none(),
             nb::arg("index") = nb::none(),
             nb::sig("def add(self, name: str, source: typing.Any = None, "
                     "index_type: str | None = None, *, data: typing.Any = None, "
                     "index: str | collections.abc.Iterable[str] | None = None) -> Stream"),
             "Adds an empty stream of a structure, or of what `structure_of` takes; or a copy of a "
             "stream, or of a table, as `Stream.from_arrow` makes one: the source itself, or "
             "`data`, which the source then is the structure for.");
    module.def("_channel_of", madeChannel,
               nb::sig("def _channel_of(name: str, streams: list[Stream]) -> Channel"));
}

void defineNode(nb::module_& module) {
    nb::class_<NodeState> type(module, "Node", nb::is_weak_referenceable(),
                               "All metadata of one object: a mapping of channels by name.");
    defineMapping<NodeState>(type, "Node", "Channel", "node");
    type.def(
            "__setitem__",
            [](const NodePtr& self, const nb::str& name, const ChannelPtr& source) {
                takeCopy(self, bytesOf(name, "a name"), source);
            },
            nb::sig("def __setitem__(self, name: str, channel: Channel, /) -> None"),
            "Stores a copy of a channel, in place of one of the same name.")
        .def(
            "__delitem__",
            [](const NodePtr& self, const nb::str& name) {
                const std::string text = bytesOf(name, "a name");
                self->demandWritable();
                demandPart(self, text);
                self->removeChannel(text);
            },
            nb::sig("def __delitem__(self, name: str, /) -> None"))
        .def("add", addChannel, nb::arg("name"), "Adds an empty channel.");
    module.def("_node_of", madeNode,
               nb::sig("def _node_of(name: str, channels: list[Channel]) -> Node"));
}

}  // namespace

nb::list textsOf(const std::vector<std::string>& names) {
    nb::list texts;
    for (const std::string& name : names) texts.append(textOf(name));
    return texts;
}

StructurePtr adoptStructure(const Part& part, const StructurePtr& structure) {
    // The scene changes; only what belongs to it is constant here.
    auto* const scene = const_cast<SceneState*>(part.scene());
    return scene ? scene->adopt(structure) : structure;
}

bool isSamePart(const ChannelPtr& ours, const ChannelPtr& theirs) {
    ours->demandPresent();
    theirs->demandPresent();
    const auto names = ours->names();
    if (ours->name() != theirs->name() || names != theirs->names()) return false;
    for (const std::string& name : names)
        if (!isSameStream(ours->stream(name)->stream(), theirs->stream(name)->stream()))
            return false;
    return true;
}

bool isSamePart(const NodePtr& ours, const NodePtr& theirs) {
    ours->demandPresent();
    theirs->demandPresent();
    const auto names = ours->names();
    if (ours->name() != theirs->name() || names != theirs->names()) return false;
    for (const std::string& name : names)
        if (!isSamePart(ours->channel(name), theirs->channel(name))) return false;
    return true;
}

ChannelPtr copyOf(const ChannelPtr& source, const std::string& name) {
    auto copy = std::make_shared<ChannelState>(nullptr, Data::Channel(name));
    fill(copy, source);
    return copy;
}

NodePtr copyOf(const NodePtr& source, const std::string& name) {
    auto copy = std::make_shared<NodeState>(nullptr, name, Data::Associations());
    fill(copy, source);
    return copy;
}

void fill(const NodePtr& node, const NodePtr& source) {
    for (const std::string& name : source->names()) takeCopy(node, name, source->channel(name));
}

void defineContainers(nb::module_& module) {
    defineChannel(module);
    defineNode(module);
}

}  // namespace orbo::Python
