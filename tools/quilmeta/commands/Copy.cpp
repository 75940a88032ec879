// quilmeta copy: metadata of one scene into another.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "process/Output.h"
#include "scene/Address.h"
#include "scene/CopyPlan.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"
#include "values/Wording.h"

#include <data/Channel.h>
#include <data/Stream.h>
#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

namespace fs = std::filesystem;

namespace {

constexpr Command::Help kHelp = {"copy", "Copy metadata from one scene into another", R"(
Copies all metadata, or with --node, which may be given several times, that
of these nodes and the structures it uses. What else TARGET has stays.
A node or structure that TARGET has in another form is refused, and named,
without --replace. With it SOURCE's metadata of a node replaces all of
TARGET's, and a structure is replaced unless other nodes of TARGET use it.
TARGET gets everything or, when anything is refused, nothing.
Example:
  quilmeta copy robot.kx robot-exported-again.kx --replace)"};

/// A copy may be refused for thousands of reasons; the first ones are enough to see what is wrong.
[[noreturn]] void refuse(const std::vector<std::string>& reasons, const char* advice) {
    constexpr size_t kMost = 8;
    std::string message;
    for (size_t i = 0; i < reasons.size() && i < kMost; ++i) message += reasons[i] + '\n';
    if (reasons.size() > kMost) message += fmt::format("and {} more\n", reasons.size() - kMost);
    throw CommandError(message + advice);
}

/// Returns the word for the report.
const char* wordFor(CopyPlan::Fate fate) {
    using Fate = CopyPlan::Fate;
    return fate == Fate::kUnchanged ? "unchanged" : fate == Fate::kAdded ? "added" : "replaced";
}

/// Returns "2 streams with 12 elements" or the like.
std::string contentOf(const Data::Associations& associations) {
    size_t streams = 0;
    size_t elements = 0;
    for (const Data::Channel& channel : associations) {
        streams += channel.size();
        for (const Data::Stream& stream : channel) elements += stream.elementCount();
    }
    return counted(streams, "stream") + " with " + counted(elements, "element");
}

/// Says for each structure and node what became of it.
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
    std::set<std::string> added;
    for (const CopyPlan::NodeCopy& copy : plan.nodes())
        if (copy.fate == CopyPlan::Fate::kAdded) added.insert(copy.name);
    if (!isReadable(file, added))
        lines.emplace_back("metadata of the nodes to copy is there, but cannot be read");
    return lines;
}

class Copy : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.word("SOURCE", fSource, "Scene file to copy from");
        options.word("TARGET", fTarget, "Scene file, which is rewritten");
        options.repeated("--node", "NAME", fNodes, "Only this node; '' is the scene");
        options.flag("--replace", fReplace, "Replace what differs in TARGET");
        options.writing(fAccess);
    }

    Outcome run(Output& output) override {
        // The source is read once, however often a conflict makes us read the target again.
        Scene source;
        const auto open = [&] {
            source = openSource();
            return FileResult(source.outcome());
        };
        const Outcome opened = guarded(fSource, open).outcome;
        if (opened == Outcome::kFailed) return opened;
        const Outcome copied = editFiles({fTarget}, fAccess, 1, output, [&](const FileTurn& turn) {
            return copyInto(*source.accessor, turn.output);
        });
        return std::max(opened, copied);
    }

  private:
    [[nodiscard]] Scene openSource() const {
        Scene source = openScene(fSource, fAccess);
        for (const std::string& node : fNodes) findNode(*source.accessor, node);
        if (source.complete) return source;
        // What cannot be read cannot be copied, and nobody would notice that it is missing.
        if (fNodes.empty())
            throw CommandError(
                "was not read without complaint: name the nodes to copy with --node");
        if (!isReadable(fSource, {fNodes.begin(), fNodes.end()}))
            throw CommandError("not all metadata of the nodes to copy can be read");
        return source;
    }

    FileResult copyInto(const Data::Accessor& source, Output& output) const {
        std::error_code ignored;
        if (fs::equivalent(fSource, fTarget, ignored))
            throw CommandError("is the scene to copy from as well");
        const Scene target = openScene(fTarget, fAccess);
        const CopyPlan plan(source, *target.accessor, fNodes);
        if (!fReplace)
            if (const auto losses = lossesOf(plan, target); !losses.empty())
                refuse(losses, "nothing was copied; --replace puts what is copied in its place");
        const auto obstacles = plan.obstacles(*target.accessor, target.complete);
        if (!obstacles.empty()) refuse(obstacles, "nothing was copied");
        if (plan.changes()) {
            plan.apply(*target.accessor);
            writeScene(target, fAccess, output);
        }
        report(plan, output);
        return {target.outcome(), plan.changes()};
    }

    std::string fSource, fTarget;
    std::vector<std::string> fNodes;
    bool fReplace = false;
    SceneAccess fAccess;
};

}  // namespace

std::unique_ptr<Command> makeCopy() { return std::make_unique<Copy>(); }

}  // namespace orbo::Quilmeta
