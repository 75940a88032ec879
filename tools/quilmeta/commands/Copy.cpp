// quilmeta copy: metadata of one scene into another.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/CopyPlan.h"
#include "editing/Parts.h"
#include "patches/ChangeReport.h"
#include "process/Output.h"
#include "scene/Address.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Stream.h>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

constexpr Command::Help kHelp = {"copy", "Copy metadata from one scene into another", R"(
Copies all metadata, or what --node, --channel and --stream fit, and the
structures it uses. What else TARGET has stays, also in the same nodes and
channels. A stream or structure that TARGET has in another form is refused, and
named, without --replace. With it streams are replaced, and what they lose is
listed; a structure is replaced unless other streams of TARGET use it. TARGET
gets everything or, when anything is refused, nothing. --to-node gives nodes other
names: each * and ? is what the one in its place of --node stood for.
Examples:
  quilmeta copy robot.kx robot-exported-again.kx --replace
  quilmeta copy a.kx b.kx --node heroA --to-node heroB --channel tags)"};

[[noreturn]] void refuse(const std::vector<std::string>& reasons, const char* advice) {
    throw CommandError(fmt::format("{}\n{}", fmt::join(reasons, "\n"), advice));
}

/// Returns the word for the report.
const char* wordFor(CopyPlan::Fate fate) {
    using Fate = CopyPlan::Fate;
    return fate == Fate::kUnchanged ? "unchanged" : fate == Fate::kAdded ? "added" : "replaced";
}

/// Says what becomes of a node's streams.
struct NodeReport {
    size_t streams = 0;
    size_t elements = 0;
    bool anyAdded = false;
    bool anyReplaced = false;
    std::vector<std::string> losses;

    void add(const CopyPlan::StreamCopy& copy) {
        ++streams;
        elements += copy.stream.elementCount();
        anyAdded = anyAdded || copy.fate == CopyPlan::Fate::kAdded;
        anyReplaced = anyReplaced || copy.fate == CopyPlan::Fate::kReplaced;
        for (const std::string& loss : copy.losses)
            losses.push_back(fmt::format("channel {}, stream {}{}", inQuotes(copy.place.channel),
                                         inQuotes(copy.place.stream), loss));
    }
    [[nodiscard]] std::string text(bool isNew) const {
        const char* const word = isNew         ? "added"
                                 : anyReplaced ? "replaced"
                                 : anyAdded    ? "merged"
                                               : "unchanged";
        return fmt::format("{}, {} with {}", word, counted(streams, "stream"),
                           counted(elements, "element"));
    }
};

/// Says for each structure and node what became of it.
void report(const CopyPlan& plan, Output& output) {
    if (plan.structures().empty() && plan.streams().empty()) output.write("nothing to copy\n");
    const auto add = [&](const std::string& text, const std::vector<std::string>& losses) {
        output.write(text + '\n');
        for (const std::string& loss : losses) output.write("  dropped: " + safeLine(loss) + '\n');
    };
    for (const CopyPlan::StructureCopy& copy : plan.structures())
        add(fmt::format("structure {}: {}", shownName(copy.structure->name()), wordFor(copy.fate)),
            copy.losses);
    std::map<std::string, NodeReport> nodes;
    for (const CopyPlan::StreamCopy& copy : plan.streams()) nodes[copy.place.node].add(copy);
    for (const auto& [name, node] : nodes)
        add(fmt::format("node {}: {}", shownNode(name), node.text(plan.newNodes().count(name) > 0)),
            node.losses);
    output.flush();
}

/// Lists what a copy would replace in the target, or hide there.
std::vector<std::string> lossesOf(const CopyPlan& plan, const Scene& target) {
    std::vector<std::string> lines = plan.differences();
    if (target.complete) return lines;
    const std::string& file = target.accessor->fileName();
    // The structure copied would only by chance be the one that the unreadable texts were made
    // with.
    for (const CopyPlan::StructureCopy& copy : plan.structures())
        if (copy.fate == CopyPlan::Fate::kAdded && lacksStructure(file, copy.structure->name()))
            lines.push_back(fmt::format(
                "metadata that cannot be read may need another structure {} than this one",
                inQuotes(copy.structure->name())));
    if (!isReadable(file, plan.newNodes()))
        lines.emplace_back("metadata of the nodes to copy is there, but cannot be read");
    return lines;
}

class Copy : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("SOURCE", fSource, "Scene file to copy from");
        options.word("TARGET", fTarget, "Scene file, which is rewritten");
        options.selection(fSelected);
        options.repeated("--to-node", "GLOB", fToNodes,
                         "Names of the nodes in TARGET, one for each --node or one for all");
        options.flag("--replace", fReplace, "Replace what differs in TARGET");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        fSelection = fSelected.selection();
        if (!fToNodes.empty() && fSelected.nodes.empty())
            throw UsageError("--to-node goes with --node");
        if (!fToNodes.empty())
            fNewNames.emplace(fSelected.nodes, fToNodes, fSelected.as(), "--to-node");
        // The source is read once, however often a conflict makes us read the target again.
        Scene source;
        const auto open = [&] {
            source = openSource();
            return FileResult(source.outcome());
        };
        const Outcome opened = guarded(fSource, open).outcome;
        if (opened == Outcome::kFailed) return opened;
        const Outcome copied = changeFiles(
            {fTarget}, fAccess, 1, output,
            [&](const FileTurn& turn) { return copyInto(*source.accessor, turn.output); });
        return std::max(opened, copied);
    }

  private:
    [[nodiscard]] Scene openSource() const {
        Scene source = openScene(fSource, fAccess);
        const auto nodes = fSelection.nodes.onlyNames();
        for (const std::string& node : nodes.value_or(std::set<std::string>()))
            findNode(*source.accessor, node);
        if (!fSelection.everything() &&
            partsOf(*source.accessor, fSelection, deepestLevel(fSelection)).empty())
            throw CommandError("nothing matches" + fSelection.text());
        if (source.complete) return source;
        // What cannot be read cannot be copied, and nobody would notice that it is missing.
        if (!nodes)
            throw CommandError(
                "was not read without complaint: name the nodes to copy with --node");
        if (!isReadable(fSource, *nodes))
            throw CommandError("not all metadata of the nodes to copy can be read");
        return source;
    }

    FileResult copyInto(const Data::Accessor& source, Output& output) const {
        std::error_code ignored;
        if (!fNewNames && fs::equivalent(fSource, fTarget, ignored))
            throw CommandError("is the scene to copy from as well");
        const Scene target = openScene(fTarget, fAccess);
        const CopyPlan plan(source, *target.accessor, fSelection, fNewNames);
        if (!fReplace)
            if (const auto losses = lossesOf(plan, target); !losses.empty())
                refuse(losses, "nothing was copied; --replace puts what is copied in its place");
        const auto obstacles = plan.obstacles(*target.accessor, target.complete);
        if (!obstacles.empty()) refuse(obstacles, "nothing was copied");
        bool changed = false;
        if (plan.changes()) {
            plan.apply(*target.accessor);
            changed = writeScene(target, fAccess, output);
        }
        report(plan, output);
        return {target.outcome(), changed};
    }

    std::string fSource, fTarget;
    SelectionArguments fSelected;
    Selection fSelection;
    std::vector<std::string> fToNodes;
    std::optional<NewName> fNewNames;
    bool fReplace = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeCopy() { return std::make_unique<Copy>(); }

}  // namespace orbo::Quilmeta
