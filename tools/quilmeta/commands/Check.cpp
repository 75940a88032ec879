// quilmeta check: what is wrong with the metadata of scenes, or unusual.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "editing/Parts.h"
#include "json/JsonElement.h"
#include "json/JsonText.h"
#include "json/ResultList.h"
#include "process/Messages.h"
#include "scene/Address.h"
#include "scene/FindingText.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Data::Finding;

constexpr Command::Help kHelp = {"check", "Look for damage in the metadata of scenes", R"(
Prints a line for each finding and exits with 1 if there are any, with 2 if
a file cannot be read at all. --ignore may be given several times.
Example:
  quilmeta check --ignore number-beyond-six-digits shots/*.kx)"};

std::set<Finding::Code> codesOf(const std::vector<std::string>& names) {
    std::set<Finding::Code> codes;
    for (const std::string& name : names) {
        const auto code = Finding::codeOf(name);
        if (!code) throw CommandError("there is no code " + inQuotes(name));
        codes.insert(*code);
    }
    return codes;
}

/// Returns the index as the document of `export` has it; its text when the stream was not read.
std::optional<std::string> indexOf(const Finding& finding, const Data::Accessor& scene) {
    if (!finding.index) return {};
    std::string json;
    const StreamAddress address{finding.node.value_or(""), finding.channel.value_or(""),
                                finding.stream.value_or("")};
    const Data::Stream* const stream = findStreamOrNull(scene, address);
    const auto index = stream ? findIndex(*stream, *finding.index) : std::nullopt;
    if (index)
        appendIndex(json, *index);
    else
        appendJson(json, std::string_view(*finding.index));
    return json;
}

/// Leaves out what the finding does not know.
JsonObject json(const std::string& file, const Finding& finding, const Data::Accessor& scene) {
    JsonObject object;
    object.add("file", file).add("line", finding.line).add("offset", finding.offset);
    if (!finding.tag.empty()) object.add("chunk", finding.tag);
    object.add("node", finding.node).add("channel", finding.channel).add("stream", finding.stream);
    if (const auto index = indexOf(finding, scene)) object.addJson("index", *index);
    object.add("member", finding.member)
        .add("structure", finding.structure)
        .add("code", Finding::nameOf(finding.code))
        .add("message", finding.message);
    return object;
}

/// No command can read anything from a file with such a finding.
bool isFatal(Finding::Code code) {
    return code == Finding::Code::kNotAScene || code == Finding::Code::kChunkDamaged;
}

class Check : public Command {
  public:
    [[nodiscard]] const Help& help() const override { return kHelp; }
    void declare(Options& options) override {
        options.files(fFiles, "Scene files, which are not changed");
        options.results(fFormat);
        options.repeated("--ignore", "CODE", fIgnoredNames, "Leave out findings of this code");
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        fIgnored = codesOf(fIgnoredNames);
        EachFile how;
        how.jobs = fFiles.jobs;
        how.failed = ResultList::failures(fFormat);
        ResultList results(output, fFormat);
        const Outcome outcome = forEachFile(filesOf(fFiles), how, results,
                                            [&](const FileTurn& turn) { return check(turn); });
        results.end();
        return outcome;
    }

  private:
    FileResult check(const FileTurn& turn) const {
        Outcome outcome = Outcome::kDone;
        const CheckedScene scene = checkScene(turn.file, fAccess);
        for (const Finding& finding : scene.findings) {
            // Notes tell what opening the file did, such as a recovery; they are no damage.
            if (finding.code == Finding::Code::kFileNote) {
                complain(turn.file, messagesOf({finding}));
            } else if (fIgnored.count(finding.code) == 0) {
                outcome =
                    std::max(outcome, isFatal(finding.code) ? Outcome::kFailed : Outcome::kFound);
                write(turn, finding, *scene.accessor);
            }
        }
        return outcome;
    }

    void write(const FileTurn& turn, const Finding& finding, const Data::Accessor& scene) const {
        if (fFormat == ResultFormat::kText)
            turn.output.write(safeLine(turn.file) + ": " + lineOf(finding) + '\n');
        else
            ResultList::add(turn.output, fFormat, json(turn.file, finding, scene));
    }

    FileArguments fFiles;
    std::vector<std::string> fIgnoredNames;
    SceneAccess fAccess;
    ResultFormat fFormat = ResultFormat::kText;
    std::set<Finding::Code> fIgnored;
};

}  // namespace

std::unique_ptr<Command> makeCheck() { return std::make_unique<Check>(); }

}  // namespace orbo::Quilmeta
