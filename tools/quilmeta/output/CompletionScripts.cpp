// Scripts by which shells complete the words of a command line.
// SPDX-License-Identifier: Apache-2.0
#include "output/CompletionScripts.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <map>
#include <set>

namespace orbo::Quilmeta {

namespace {

using Words = std::vector<std::string>;

/// A word for bash and zsh, in single quotes.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char letter : text) result += letter == '\'' ? "'\\''" : std::string(1, letter);
    return result + '\'';
}

/// A word for fish, which has escapes between single quotes.
std::string fishQuoted(const std::string& text) {
    std::string result = "'";
    for (const char letter : text) {
        if (letter == '\'' || letter == '\\') result += '\\';
        result += letter;
    }
    return result + '\'';
}

std::string joined(const Words& words) { return fmt::format("{}", fmt::join(words, " ")); }

/// The words that lead to commands: "show", "refs", "refs list".
Words pathsOf(const std::vector<CommandRow>& table) {
    Words paths;
    for (const CommandRow& row : table)
        if (!row.words.empty()) paths.push_back(row.words);
    return paths;
}

/// The options of the program stand behind every command as well.
std::vector<OptionRow> optionsOf(const CommandRow& row, const CommandRow& program) {
    std::vector<OptionRow> options = row.options;
    std::set<std::string> seen;
    for (const OptionRow& option : options) seen.insert(option.names.begin(), option.names.end());
    for (const OptionRow& option : program.options)
        if (&row != &program && seen.count(option.names.back()) == 0) options.push_back(option);
    return options;
}

/// "help" takes the commands as its words.
Words commandsOf(const CommandRow& row) {
    Words commands = row.commands;
    if (row.words.empty()) commands.emplace_back("help");
    return commands;
}

/// The names of all options that take a value, in the order of the table.
Words namesWithValue(const std::vector<CommandRow>& table) {
    Words names;
    std::set<std::string> seen;
    for (const CommandRow& row : table)
        for (const OptionRow& option : row.options)
            for (const std::string& name : option.names)
                if (!option.value.empty() && seen.insert(name).second) names.push_back(name);
    return names;
}

/// The values of options that have a fixed set of them.
std::map<std::string, Words> fixedValues(const std::vector<CommandRow>& table) {
    std::map<std::string, Words> values;
    for (const CommandRow& row : table)
        for (const OptionRow& option : row.options)
            for (const std::string& name : option.names)
                if (!option.choices.empty()) values[name] = option.choices;
    return values;
}

/// Gives the words that may be the first behind a command; none where it is a file.
Words firstWords(const CommandRow& row) {
    if (!row.commands.empty()) return commandsOf(row);
    return row.positionals.empty() ? Words() : row.positionals.front().choices;
}

/// The part that bash and zsh share: which command the words name. `first` is the place of the
/// first word behind the program's name.
std::string findCommand(const std::vector<CommandRow>& table, const char* words, int first,
                        const char* current) {
    std::string text = "    local command= i\n";
    text += fmt::format("    for ((i = {}; i < {}; i++)); do\n", first, current);
    text += fmt::format("        case \"${{{}[i]}}\" in\n", words);
    text += fmt::format("            {}) i=$((i + 1)); continue ;;\n",
                        fmt::join(namesWithValue(table), "|"));
    text += "        esac\n";
    text += fmt::format("        case \"${{command:+$command }}${{{}[i]}}\" in\n", words);
    Words paths;
    for (const std::string& path : pathsOf(table)) paths.push_back(quoted(path));
    text += fmt::format(
        "            {}) command=\"${{command:+$command }}${{{}[i]}}\" ;;\n            help) ;;\n",
        fmt::join(paths, "|"), words);
    return text + "        esac\n    done\n";
}

/// An item of zsh's `_describe`, whose name and description have a colon between.
std::string described(const std::string& name, const std::string& description) {
    return quoted(name + ':' + description);
}

const CommandRow* rowFor(const std::vector<CommandRow>& table, const std::string& words) {
    for (const CommandRow& row : table)
        if (row.words == words) return &row;
    return nullptr;
}

std::string zshCommands(const CommandRow& row, const std::vector<CommandRow>& table) {
    std::string text;
    for (const std::string& name : firstWords(row)) {
        const CommandRow* const command =
            rowFor(table, row.words.empty() ? name : row.words + ' ' + name);
        text += ' ' + described(name, command ? command->summary : "");
    }
    return text;
}

}  // namespace

std::string bashCompletion(const std::vector<CommandRow>& table) {
    std::string text = "# Completes the words of quilmeta in bash.\n_quilmeta() {\n";
    text += R"(    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    # bash makes three words of --color=never.
    if [[ $word == = ]]; then word=; elif [[ $before == = ]]; then before=${COMP_WORDS[COMP_CWORD - 2]}; fi
)";
    text += findCommand(table, "COMP_WORDS", 1, "COMP_CWORD");
    text += "    local options= words=\n    case $command in\n";
    for (const CommandRow& row : table) {
        Words names;
        for (const OptionRow& option : optionsOf(row, table.front()))
            names.insert(names.end(), option.names.begin(), option.names.end());
        text += fmt::format("        {}) options={} words={} ;;\n", quoted(row.words),
                            quoted(joined(names)), quoted(joined(firstWords(row))));
    }
    text += "    esac\n    COMPREPLY=()\n    case $before in\n";
    for (const auto& [name, values] : fixedValues(table))
        text += fmt::format(
            "        {}) mapfile -t COMPREPLY < <(compgen -W {} -- \"$word\"); return ;;\n", name,
            quoted(joined(values)));
    text +=
        fmt::format("        {}) words= ;;\n        *)\n", fmt::join(namesWithValue(table), "|"));
    text += R"(            if [[ $word == -* ]]; then
                mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
                return
            fi ;;
    esac
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
    else
        # bash also ends a word at a colon, and wants only what comes behind it.
        local line=${COMP_LINE:0:COMP_POINT} head=
        line=${line##*[[:blank:]]}
        if [[ $COMP_WORDBREAKS == *:* && $line == *:* ]]; then head=${line%"${line##*:}"} word=${line##*:}; fi
        compopt -o filenames 2>/dev/null
        mapfile -t COMPREPLY < <(compgen -f -- "$head$word")
        COMPREPLY=("${COMPREPLY[@]#"$head"}")
    fi
}
complete -F _quilmeta quilmeta
)";
    return text;
}

std::string zshCompletion(const std::vector<CommandRow>& table) {
    std::string text = "#compdef quilmeta\n# Completes the words of quilmeta in zsh.\n";
    text += "_quilmeta() {\n" + findCommand(table, "words", 2, "CURRENT");
    text += "    local -a options commands\n    case $command in\n";
    for (const CommandRow& row : table) {
        text += fmt::format("        {})\n            options=(", quoted(row.words));
        for (const OptionRow& option : optionsOf(row, table.front()))
            for (const std::string& name : option.names)
                text += "\n                " + described(name, option.description);
        text += fmt::format(")\n            commands=({}) ;;\n", zshCommands(row, table));
    }
    text += "    esac\n    case ${words[CURRENT-1]} in\n";
    for (const auto& [name, values] : fixedValues(table))
        text += fmt::format("        {}) compadd -- {}; return ;;\n", name, joined(values));
    text += fmt::format("        {}) _files; return ;;\n", fmt::join(namesWithValue(table), "|"));
    text += R"(    esac
    if [[ ${words[CURRENT]} == -* ]]; then
        _describe -o option options
    elif (( $#commands )); then
        _describe command commands
    else
        _files
    fi
}
if [[ ${funcstack[1]} == _quilmeta ]]; then
    _quilmeta "$@"
else
    compdef _quilmeta quilmeta
fi
)";
    return text;
}

std::string fishCompletion(const std::vector<CommandRow>& table) {
    Words paths;
    for (const std::string& path : pathsOf(table)) paths.push_back(fishQuoted(path));
    std::string text = fmt::format(R"(# Completes the words of quilmeta in fish.
function __quilmeta_at
    set -l command ''
    set -l skip 0
    for word in (commandline -opc)[2..-1]
        if test $skip = 1
            set skip 0
        else if contains -- $word {}
            set skip 1
        else if contains -- (string trim -- "$command $word") {}
            set command (string trim -- "$command $word")
        end
    end
    test "$command" = "$argv[1]"
end
)",
                                   fmt::join(namesWithValue(table), " "), fmt::join(paths, " "));
    for (const CommandRow& row : table) {
        const std::string start =
            fmt::format("complete -c quilmeta -n \"__quilmeta_at {}\"", fishQuoted(row.words));
        for (const std::string& name : firstWords(row)) {
            const CommandRow* const command =
                rowFor(table, row.words.empty() ? name : row.words + ' ' + name);
            text += fmt::format("{} -f -a {} -d {}\n", start, fishQuoted(name),
                                fishQuoted(command ? command->summary : ""));
        }
        for (const OptionRow& option : optionsOf(row, table.front())) {
            text += start;
            for (const std::string& name : option.names)
                text += name[1] == '-' ? " -l " + name.substr(2) : " -s " + name.substr(1);
            if (!option.choices.empty())
                text += " -x -a " + fishQuoted(joined(option.choices));
            else if (!option.value.empty())
                text += " -r";
            text += " -d " + fishQuoted(option.description) + '\n';
        }
    }
    return text;
}

}  // namespace orbo::Quilmeta
