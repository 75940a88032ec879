// Manual pages of the commands.
// SPDX-License-Identifier: Apache-2.0
#include "output/ManualPage.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cctype>
#include <string_view>

namespace orbo::Quilmeta {

namespace {

/// Text between requests. Hyphens are written as minus signs, so that they can be copied.
std::string escaped(std::string_view text) {
    std::string result;
    for (const char letter : text) {
        if (letter == '\\')
            result += "\\e";
        else if (letter == '-')
            result += "\\-";
        else if (letter == '\'')
            result += "\\(aq";
        else if (letter == '`')
            result += "\\(ga";
        else if (letter == '^')
            result += "\\(ha";
        else if (letter == '~')
            result += "\\(ti";
        else
            result += letter;
    }
    return result;
}

/// A whole line: one that begins with a dot would be a request.
std::string line(std::string_view text) {
    const bool isRequest = !text.empty() && text.front() == '.';
    return (isRequest ? "\\&" : "") + escaped(text) + '\n';
}

std::string bold(const std::string& text) { return "\\fB" + escaped(text) + "\\fR"; }
std::string italic(const std::string& text) { return "\\fI" + escaped(text) + "\\fR"; }

std::string section(const std::string& name) { return ".SH " + name + '\n'; }

/// The details of a command: paragraphs, and examples, whose lines are indented.
std::string paragraphs(std::string_view text) {
    std::string result;
    bool isVerbatim = false;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        std::string_view one = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        const bool isIndented = one.substr(0, 2) == "  ";
        if (isIndented != isVerbatim)
            result += isIndented ? ".PP\n.nf\n.RS 4\n" : ".RE\n.fi\n.PP\n";
        isVerbatim = isIndented;
        if (isIndented) one.remove_prefix(2);
        if (one == "Example:" || one == "Examples:")
            result += ".SH EXAMPLES\n";
        else if (!one.empty())
            result += line(one);
    }
    return result + (isVerbatim ? ".RE\n.fi\n" : "");
}

std::string optionText(const OptionRow& option) {
    std::vector<std::string> names;
    for (const std::string& name : option.names) names.push_back(bold(name));
    std::string text = fmt::format(".TP\n{}", fmt::join(names, ", "));
    if (!option.choices.empty())
        text += ' ' + bold(option.value);
    else if (!option.value.empty())
        text += ' ' + italic(option.value);
    return text + '\n' + line(option.description + (option.required ? "; required" : "") + '.');
}

std::string synopsis(const CommandRow& command) {
    std::string text = bold("quilmeta" + (command.words.empty() ? "" : ' ' + command.words));
    for (const OptionRow& option : command.options)
        if (option.required) text += ' ' + bold(option.names.back()) + ' ' + italic(option.value);
    text += " [" + italic("options") + ']';
    if (!command.commands.empty()) text += ' ' + italic("command");
    for (const WordRow& word : command.positionals)
        text += ' ' + italic(word.name) + (word.repeats ? " ..." : "");
    return text + '\n';
}

std::string commandList(const CommandRow& command, const std::vector<CommandRow>& table) {
    std::string text;
    for (const CommandRow& row : table) {
        const bool isInside = command.words.empty() ? !row.words.empty()
                                                    : row.words.rfind(command.words + ' ', 0) == 0;
        if (isInside && row.commands.empty())
            text += fmt::format(".TP\n{}(1)\n{}", bold(manualName(row)), line(row.summary + '.'));
    }
    return text;
}

}  // namespace

std::string manualName(const CommandRow& command) {
    std::string name = command.words.empty() ? "quilmeta" : "quilmeta-" + command.words;
    std::replace(name.begin(), name.end(), ' ', '-');
    return name;
}

std::string manualPage(const CommandRow& command, const std::vector<CommandRow>& table) {
    const std::string title = manualName(command);
    std::string upper = title;
    for (char& letter : upper) letter = static_cast<char>(std::toupper(letter));
    std::string page = fmt::format(".TH {} 1 \"\" \"quilmeta {}\" \"User Commands\"\n",
                                   escaped(upper), QUILMETA_VERSION);
    page += section("NAME") + escaped(title) + " \\- " + line(command.summary);
    page += section("SYNOPSIS") + synopsis(command);
    page += section("DESCRIPTION") + (command.words.empty() ? line(command.summary) : "");
    std::string_view details = command.details;
    const size_t examples = std::min(details.find("Example"), details.size());
    page += paragraphs(details.substr(0, examples));
    for (const WordRow& word : command.positionals)
        page += ".TP\n" + italic(word.name) + '\n' + line(word.description + '.');
    if (!command.commands.empty()) page += section("COMMANDS") + commandList(command, table);
    page += section("OPTIONS");
    for (const OptionRow& option : command.options) page += optionText(option);
    if (!command.words.empty())
        page +=
            ".PP\n" + line("The options of quilmeta(1) may stand here as well: -q, -v, --color.");
    page += paragraphs(details.substr(examples));
    page += section("EXIT STATUS") +
            line(
                "0 when all was done, 1 when there is a finding or nothing that was asked for was "
                "there, 2 when something went wrong.");
    page += section("SEE ALSO");
    return page +
           (command.words.empty() ? line("quilmeta help COMMAND") : bold("quilmeta") + "(1)\n");
}

}  // namespace orbo::Quilmeta
