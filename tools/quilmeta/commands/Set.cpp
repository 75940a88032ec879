// quilmeta set: changes the values of one element.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "process/CommandError.h"
#include "process/EachFile.h"
#include "scene/Assignment.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/IndexText.h>
#include <data/Structure.h>
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <memory>
#include <new>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace {

struct SetOptions {
    std::string file, node, channel, stream, index;
    std::vector<std::string> assignments;
    bool create = false;
    SceneAccess access;
};

/// Nobody creates an element of this size by hand: its structure is damaged or hostile.
constexpr unsigned long long kLargestNewElement = 1ULL << 26;

Data::Channel& findChannel(Data::Associations& associations, const SetOptions& options) {
    if (Data::Channel* channel = associations.findChannel(options.channel)) return *channel;
    throw CommandError(fmt::format(
        "node {} has no channel {}{}", shownNode(options.node), inQuotes(options.channel),
        nameList("channels", associations,
                 [](const Data::Channel& c) { return shownName(c.name()); })));
}

Data::Stream& findStream(Data::Channel& channel, const SetOptions& options) {
    if (Data::Stream* stream = channel.findDataStream(options.stream)) return *stream;
    throw CommandError(fmt::format(
        "channel {} has no stream {}{}", inQuotes(options.channel), inQuotes(options.stream),
        nameList("streams", channel, [](const Data::Stream& s) { return shownName(s.name()); })));
}

Data::Index indexOf(const Data::Stream& stream, const std::string& text) {
    try {
        return Data::Index::doCreate(stream.indexType(), text);
    } catch (Data::Index::eCreationErrors error) {
        if (error == Data::Index::eCreatorNotFound)
            return Data::Index(Data::IndexText(stream.indexType(), text));
        throw CommandError(fmt::format("{} is no index of type {}", inQuotes(text),
                                       shownName(stream.indexType())));
    }
}

Data::Handle newElement(const Data::Structure& structure) {
    const unsigned long long size = structure.totalSize();
    if (size > kLargestNewElement)
        throw CommandError(fmt::format("a new element of structure {} would take {} bytes",
                                       inQuotes(structure.name()), size));
    Data::Handle element(structure);
    if (!element.hasData() && size > 0) throw std::bad_alloc();
    return element;
}

std::vector<std::string> indicesOf(const Data::Stream& stream) {
    constexpr size_t kMoreThanShown = 16;
    std::vector<std::string> indices;
    for (auto it = stream.cbegin(); it.valid() && indices.size() < kMoreThanShown; ++it)
        indices.push_back(it.index().asString());
    return indices;
}

/// A copy of the element, or a new one. The stream keeps its own until all values are good.
Data::Handle draftOf(Data::Stream& stream, const Data::Index& index, const SetOptions& options) {
    Data::Handle draft = stream.element(index);
    if (!draft.hasData() && options.create) return newElement(stream.structure());
    if (!draft.hasData())
        throw CommandError(fmt::format("stream {} has no index {}{}; --create makes an element",
                                       inQuotes(options.stream), inQuotes(options.index),
                                       nameList("indices", indicesOf(stream),
                                                [](const auto& text) { return shownName(text); })));
    if (!draft.makeUnique()) throw std::bad_alloc();
    return draft;
}

Outcome setValues(const SetOptions& options) {
    bool complete = false;
    const std::unique_ptr<Data::Accessor> scene =
        openScene(options.file, options.access, &complete);
    Data::Stream& stream =
        findStream(findChannel(findNode(*scene, options.node), options), options);
    const Data::Index index = indexOf(stream, options.index);
    Data::Handle draft = draftOf(stream, index, options);
    assign(stream.structure(), draft, options.assignments);
    if (!stream.setElement(index, draft)) throw CommandError("not enough memory");
    writeScene(*scene, options.access);
    return complete ? Outcome::kDone : Outcome::kUnreadable;
}

}  // namespace

void addSet(CLI::App& app, Output&, int& exitCode) {
    auto options = std::make_shared<SetOptions>();
    CLI::App* command = app.add_subcommand("set", "Change values of one element");
    command->add_option("FILE", options->file, "Scene file, which is rewritten")
        ->required()
        ->type_name("");
    const auto need = [command](const char* name, std::string& value, const char* description) {
        command->add_option(name, value, description)->required()->type_name("NAME");
    };
    need("--node", options->node, "Node with the metadata; '' is the scene");
    need("--channel", options->channel, "Channel of the node");
    need("--stream", options->stream, "Stream of the channel");
    need("--index", options->index, "Element to change");
    command->add_flag("--create", options->create, "Make the element when there is none");
    addWriting(*command, options->access);
    addWords(*command, "MEMBER=VALUE", options->assignments, "Members, new values");
    command->footer(
        "A member of several values takes them all, with blanks between, or one by\n"
        "MEMBER[k]=VALUE; a matrix is one value of 16 numbers. Nothing is written\n"
        "unless all values are good.\n"
        "Example:\n"
        "  quilmeta set robot.kx --node rig --channel joints --stream pose \\\n"
        "      --index lid side=-1 'label=the lid'");
    command->callback([options, &exitCode] {
        exitCode =
            exitCodeOf(forEachFile({options->file}, options->access.purpose(), [&](const auto&) {
                return repeatAfterConflict(options->access, [&] { return setValues(*options); });
            }));
    });
}

}  // namespace orbo::Quilmeta
