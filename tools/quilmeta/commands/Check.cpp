// quilmeta check: what is wrong with the metadata of scenes, or unusual.
// SPDX-License-Identifier: Apache-2.0
#include "commands/Commands.h"
#include "commands/Options.h"
#include "json/JsonText.h"
#include "output/Output.h"
#include "process/CommandError.h"
#include "process/EachFile.h"
#include "process/Messages.h"
#include "scene/FindingText.h"
#include "scene/SceneFile.h"
#include "values/SafeText.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Data::Finding;

struct CheckOptions {
    std::vector<std::string> files;
    std::vector<std::string> ignored;
    SceneAccess access;
    bool json = false;
};

/// A row of the result.
struct Line {
    std::string file;
    Finding finding;
};

std::set<Finding::Code> codesOf(const std::vector<std::string>& names) {
    std::set<Finding::Code> codes;
    for (const std::string& name : names) {
        const auto code = Finding::codeOf(name);
        if (!code) throw CommandError("there is no code " + inQuotes(name));
        codes.insert(*code);
    }
    return codes;
}

/// "robot.kx: line 12: node arm: text-unreadable: ..."
std::string text(const Line& line) {
    const Finding& finding = line.finding;
    std::string text = safeLine(line.file) + ": ";
    const std::string place = placeOf(finding);
    if (!place.empty()) text += safeLine(place) + ": ";
    if (finding.node) text += "node " + shownNode(*finding.node) + ": ";
    text += std::string(Finding::nameOf(finding.code)) + ": ";
    std::string message;
    for (const char c : finding.message) {
        if (c == '\n') message += ';';
        message += c == '\n' ? ' ' : c;
    }
    return text + safeLine(message) + '\n';
}

std::string json(const Line& line) {
    const Finding& finding = line.finding;
    std::string text = "{ \"file\": ";
    const auto add = [&](const char* key, const auto& value) {
        text += std::string(", \"") + key + "\": ";
        appendJson(text, value);
    };
    appendJson(text, std::string_view(line.file));
    if (finding.line) add("line", *finding.line);
    if (finding.offset) add("offset", *finding.offset);
    if (!finding.tag.empty()) add("chunk", std::string_view(finding.tag));
    if (finding.node) add("node", std::string_view(*finding.node));
    if (finding.channel) add("channel", std::string_view(*finding.channel));
    if (finding.stream) add("stream", std::string_view(*finding.stream));
    if (finding.index) add("index", std::string_view(*finding.index));
    if (finding.member) add("member", std::string_view(*finding.member));
    add("code", Finding::nameOf(finding.code));
    add("message", std::string_view(finding.message));
    return text + " }";
}

void write(Output& output, const std::vector<Line>& lines, bool asJson) {
    if (!asJson) {
        for (const Line& line : lines) output.write(text(line));
        return;
    }
    output.write("[");
    const char* gap = "\n  ";
    for (const Line& line : lines) {
        output.write(std::exchange(gap, ",\n  "));
        output.write(json(line));
    }
    output.write(lines.empty() ? "]\n" : "\n]\n");
}

/// Of a file that no command can read anything from.
bool isFatal(Finding::Code code) {
    return code == Finding::Code::kNotAScene || code == Finding::Code::kChunkDamaged;
}

Outcome check(const std::string& file, const SceneAccess& access,
              const std::set<Finding::Code>& ignored, std::vector<Line>& lines) {
    Outcome outcome = Outcome::kDone;
    std::vector<Finding> findings = checkScene(file, access);
    for (Finding& finding : findings) {
        if (finding.code == Finding::Code::kFileNote) {
            complain(file, messagesOf({finding}));
        } else if (ignored.count(finding.code) == 0) {
            outcome = std::max(outcome, isFatal(finding.code) ? Outcome::kFailed : Outcome::kFound);
            lines.push_back({file, std::move(finding)});
        }
    }
    return outcome;
}

Outcome checkAll(const CheckOptions& options, Output& output) {
    const std::set<Finding::Code> ignored = codesOf(options.ignored);
    std::vector<Line> lines;
    const Outcome outcome = forEachFile(
        options.files, Purpose::kReading,
        [&](const std::string& file) { return check(file, options.access, ignored, lines); });
    write(output, lines, options.json);
    return outcome;
}

}  // namespace

void addCheck(CLI::App& app, Output& output, int& exitCode) {
    auto options = std::make_shared<CheckOptions>();
    CLI::App* command = app.add_subcommand("check", "Look for damage in the metadata of scenes");
    addWords(*command, "FILE", options->files, "Scene files, which are not changed");
    addEach(*command, "--ignore", options->ignored, "CODE", "Leave out findings of this code");
    command->add_flag("--json", options->json, "Print a JSON list instead of lines");
    addWait(*command, options->access);
    command->footer(
        "Prints a line for each finding and exits with 1 if there are any, with 2 if\n"
        "a file cannot be read at all. --ignore may be given several times.\n"
        "Example:\n"
        "  quilmeta check --ignore number-beyond-six-digits shots/*.kx");
    command->callback(
        [options, &output, &exitCode] { exitCode = exitCodeOf(checkAll(*options, output)); });
}

}  // namespace orbo::Quilmeta
