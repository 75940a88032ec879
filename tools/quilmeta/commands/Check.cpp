// quilmeta check: what is wrong with the metadata of scenes, or unusual.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonList.h"
#include "process/Messages.h"
#include "scene/FindingText.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <algorithm>
#include <set>
#include <string>
#include <utility>
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

/// Leaves out what the finding does not know.
JsonObject json(const std::string& file, const Finding& finding) {
    JsonObject object;
    object.add("file", file).add("line", finding.line).add("offset", finding.offset);
    if (!finding.tag.empty()) object.add("chunk", finding.tag);
    object.add("node", finding.node)
        .add("channel", finding.channel)
        .add("stream", finding.stream)
        .add("index", finding.index)
        .add("member", finding.member)
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
        options.words("FILE", fFiles, "Scene files, which are not changed");
        options.flag("--json", fJson, "Print a JSON list instead of lines");
        options.repeated("--ignore", "CODE", fIgnoredNames, "Leave out findings of this code");
        options.wait(fAccess);
    }

    Outcome run(Output& output) override {
        fIgnored = codesOf(fIgnoredNames);
        const Outcome outcome = forEachFile(fFiles, Purpose::kReading,
                                            [&](const std::string& file) { return check(file); });
        fJson ? writeJson(output) : writeLines(output);
        return outcome;
    }

  private:
    Outcome check(const std::string& file) {
        Outcome outcome = Outcome::kDone;
        for (Finding& finding : checkScene(file, fAccess)) {
            // Notes tell what opening the file did, such as a recovery; they are no damage.
            if (finding.code == Finding::Code::kFileNote) {
                complain(file, messagesOf({finding}));
            } else if (fIgnored.count(finding.code) == 0) {
                outcome =
                    std::max(outcome, isFatal(finding.code) ? Outcome::kFailed : Outcome::kFound);
                fFound.emplace_back(file, std::move(finding));
            }
        }
        return outcome;
    }

    void writeLines(Output& output) const {
        for (const auto& [file, finding] : fFound)
            output.write(safeLine(file) + ": " + lineOf(finding) + '\n');
    }

    void writeJson(Output& output) const {
        JsonList list(output);
        for (const auto& [file, finding] : fFound) list.add(json(file, finding));
        list.end();
    }

    std::vector<std::string> fFiles, fIgnoredNames;
    SceneAccess fAccess;
    bool fJson = false;
    std::set<Finding::Code> fIgnored;
    std::vector<std::pair<std::string, Finding>> fFound;  // each with its file
};

}  // namespace

std::unique_ptr<Command> makeCheck() { return std::make_unique<Check>(); }

}  // namespace orbo::Quilmeta
