// quilmeta copy: metadata of one scene into another.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "process/CommandError.h"
#include "process/EachFile.h"
#include "scene/CopyPlan.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Channel.h>
#include <data/Stream.h>
#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

struct CopyOptions {
    std::string source, target;
    std::vector<std::string> nodes;
    bool replace = false;
    SceneAccess access;
};

std::unique_ptr<Data::Accessor> openSource(const CopyOptions& options, bool& complete) {
    std::unique_ptr<Data::Accessor> source = openScene(options.source, options.access, &complete);
    for (const std::string& node : options.nodes) findNode(*source, node);
    if (complete) return source;
    if (options.nodes.empty())
        throw CommandError("was not read without complaint: name the nodes to copy with --node");
    if (!isReadable(options.source, {options.nodes.begin(), options.nodes.end()}))
        throw CommandError("not all metadata of the nodes to copy can be read");
    return source;
}

std::unique_ptr<Data::Accessor> openTarget(const CopyOptions& options, bool& complete) {
    std::error_code ignored;
    if (fs::equivalent(options.source, options.target, ignored))
        throw CommandError("is the scene to copy from as well");
    return openScene(options.target, options.access, &complete);
}

[[noreturn]] void refuse(const std::vector<std::string>& reasons, const char* advice) {
    constexpr size_t kMost = 8;
    std::string message;
    for (size_t i = 0; i < reasons.size() && i < kMost; ++i) message += reasons[i] + '\n';
    if (reasons.size() > kMost) message += fmt::format("and {} more\n", reasons.size() - kMost);
    throw CommandError(message + advice);
}

const char* wordFor(CopyPlan::Fate fate) {
    using Fate = CopyPlan::Fate;
    return fate == Fate::kUnchanged ? "unchanged" : fate == Fate::kAdded ? "added" : "replaced";
}

std::string contentOf(const Data::Associations& associations) {
    size_t streams = 0;
    size_t elements = 0;
    for (const Data::Channel& channel : associations) {
        streams += channel.size();
        for (const Data::Stream& stream : channel) elements += stream.elementCount();
    }
    return counted(streams, "stream") + " with " + counted(elements, "element");
}

void report(const CopyPlan& plan, Output& output) {
    if (plan.structures().empty() && plan.nodes().empty()) output.write("nothing to copy\n");
    const auto add = [&](const std::string& text, const std::vector<std::string>& losses) {
        output.write(text + '\n');
        for (const std::string& loss : losses) output.write("  dropped: " + safeLine(loss) + '\n');
    };
    for (const CopyPlan::StructureCopy& copy : plan.structures())
        add(fmt::format("structure {}: {}", shownName(copy.structure->name()), wordFor(copy.fate)),
            copy.losses);
    for (const CopyPlan::NodeCopy& copy : plan.nodes())
        add(fmt::format("node {}: {}, {}", shownNode(copy.name), wordFor(copy.fate),
                        contentOf(copy.associations)),
            copy.losses);
}

/// What a copy would take from the target, or hide behind something else.
std::vector<std::string> losses(const CopyPlan& plan, const std::string& target, bool complete) {
    std::vector<std::string> lines = plan.differences();
    if (complete) return lines;
    // Only by chance would it be the one that these texts were written with.
    for (const CopyPlan::StructureCopy& copy : plan.structures())
        if (copy.fate == CopyPlan::Fate::kAdded && lacksStructure(target, copy.structure->name()))
            lines.push_back(fmt::format(
                "metadata that cannot be read may need another structure {} than this one",
                inQuotes(copy.structure->name())));
    std::set<std::string> added;
    for (const CopyPlan::NodeCopy& copy : plan.nodes())
        if (copy.fate == CopyPlan::Fate::kAdded) added.insert(copy.name);
    if (!isReadable(target, added))
        lines.emplace_back("metadata of the nodes to copy is there, but cannot be read");
    return lines;
}

Outcome copyInto(const Data::Accessor& source, const CopyOptions& options, Output& output) {
    bool complete = false;
    const std::unique_ptr<Data::Accessor> target = openTarget(options, complete);
    const CopyPlan plan(source, *target, options.nodes);
    if (!options.replace) {
        const auto reasons = losses(plan, options.target, complete);
        if (!reasons.empty())
            refuse(reasons, "nothing was copied; --replace puts what is copied in its place");
    }
    const auto reasons = plan.obstacles(*target, complete);
    if (!reasons.empty()) refuse(reasons, "nothing was copied");
    if (plan.changes()) {
        plan.apply(*target);
        writeScene(*target, options.access);
    }
    report(plan, output);
    output.flush();
    return complete ? Outcome::kDone : Outcome::kUnreadable;
}

Outcome copy(const CopyOptions& options, Output& output) {
    std::unique_ptr<Data::Accessor> source;
    const Outcome opened = guarded(options.source, [&] {
        bool complete = false;
        source = openSource(options, complete);
        return complete ? Outcome::kDone : Outcome::kUnreadable;
    });
    if (opened == Outcome::kFailed) return opened;
    const Outcome copied =
        forEachFile({options.target}, options.access.purpose(), [&](const auto&) {
            return repeatAfterConflict(options.access,
                                       [&] { return copyInto(*source, options, output); });
        });
    return std::max(opened, copied);
}

}  // namespace

void addCopy(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<CopyOptions>();
    CLI::App* command = app.add_subcommand("copy", "Copy metadata from one scene into another");
    command->add_option("SOURCE", options->source, "Scene file to copy from")
        ->required()
        ->type_name("");
    command->add_option("TARGET", options->target, "Scene file, which is rewritten")
        ->required()
        ->type_name("");
    command->add_option("--node", options->nodes, "Only this node; '' is the scene")
        ->type_name("NAME")
        ->allow_extra_args(false);
    command->add_flag("--replace", options->replace, "Replace what differs in TARGET");
    addWriting(*command, options->access);
    command->footer(
        "Copies all metadata, or with --node, which may be given several times, that\n"
        "of these nodes and the structures it uses. What else TARGET has stays.\n"
        "A node or structure that TARGET has in another form is refused, and named,\n"
        "without --replace. With it SOURCE's metadata of a node replaces all of\n"
        "TARGET's, and a structure is replaced unless other nodes of TARGET use it.\n"
        "TARGET gets everything or, when anything is refused, nothing.\n"
        "Example:\n"
        "  quilmeta copy robot.kx robot-exported-again.kx --replace");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(copy(*options, output)); });
}

}  // namespace orbo::Quilmeta
