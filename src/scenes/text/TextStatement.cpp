// The two metadata statements of text scenes, taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/text/TextStatement.h"

#include <data/AccessorQuil.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "core/Ascii.h"
#include "core/SixteenBytes.h"
#include "scenes/text/EscapedText.h"

namespace orbo::Data::TextStatement {

namespace {

using Kind = SceneRecord::Kind;

// Blanks at the ends of lines; line feeds separate lines.
constexpr std::string_view kLineBlanks = " \t\r";

const std::string& command(Kind kind) {
    return kind == Kind::kStructure ? AccessorQuil::Ascii::getDataStructureCommandName()
                                    : AccessorQuil::Ascii::getApplyMetadataCommandName();
}

const std::string& formatFlag(Kind kind) {
    return kind == Kind::kStructure ? AccessorQuil::Ascii::getDataStructureCommandFormatFlag()
                                    : AccessorQuil::Ascii::getApplyMetadataCommandFormatFlag();
}

const std::string& valueFlag(Kind kind) {
    return kind == Kind::kStructure ? AccessorQuil::Ascii::getDataStructureCommandAsStringFlag()
                                    : AccessorQuil::Ascii::getApplyMetadataCommandValueFlag();
}

const std::string& sceneFlag() { return AccessorQuil::Ascii::getApplyMetadataCommandSceneFlag(); }

// Joins lines with one blank. Blank lines and comments belong to no statement.
void joinLines(std::string& text) {
    std::size_t out = 0;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string_view line = std::string_view(text).substr(begin, end - begin);
        const std::size_t length = line.find_last_not_of(kLineBlanks) + 1;
        if (length > 0 && !isComment(line)) {
            if (out > 0) text[out++] = ' ';
            if (out != begin) std::memmove(&text[out], line.data(), length);
            out += length;
        }
        begin = end + 1;
    }
    text.resize(out);
}

std::string_view takeWord(std::string_view& text) {
    const auto* const begin = std::find_if_not(text.begin(), text.end(), Ascii::isBlank);
    const auto* const end = std::find_if(begin, text.end(), Ascii::isBlank);
    const std::string_view word(begin, static_cast<std::size_t>(end - begin));
    text.remove_prefix(static_cast<std::size_t>(end - text.begin()));
    return word;
}

// `text` has no blanks at its end.
std::string_view takeLastWord(std::string_view& text) {
    std::size_t begin = text.size();
    while (begin > 0 && !Ascii::isBlank(text[begin - 1])) --begin;
    const std::string_view word = text.substr(begin);
    text = text.substr(0, begin);
    return word;
}

bool hasNoWordBut(std::string_view allowed, std::string_view text) {
    for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text)) {
        if (word != allowed) return false;
    }
    return true;
}

// The positions of the quotes around the two values.
struct Quotes {
    std::array<std::size_t, 4> at{};

    explicit Quotes(std::string_view text) {
        at[0] = text.find('"');
        at[1] = text.find('"', at[0] + 1);
        at[2] = text.find('"', at[1] + 1);
        // The last quote closes the value, so quotes inside need no care here.
        at[3] = text.rfind('"');
    }
    [[nodiscard]] bool complete() const {
        return at[0] < at[1] && at[1] < at[2] && at[2] < at[3] && at[3] != std::string_view::npos;
    }
    [[nodiscard]] std::string_view between(std::string_view text, int first) const {
        const auto i = static_cast<std::size_t>(first);
        return text.substr(at[i] + 1, at[i + 1] - at[i] - 1);
    }
};

// Tells whether the text between the outer quotes is more than one value.
struct Rest {
    bool endsEarly = false;  // a quote without a backslash ends the text
    bool isSeveral = false;  // a ";" outside of quotes ends the statement

    Rest(Kind kind, std::string_view text) {
        const char* const end = text.data() + text.size();
        bool quoted = true;
        for (const char* at = findBareQuote(text.data(), end);; ++at) {
            at = quoted ? findFirstOf(at, end, '\\', '"') : findFirstOf(at, end, ';', '"');
            if (at == end) return;
            if (*at == '\\') {
                if (++at == end) return;
            } else if (*at == ';') {
                isSeveral = true;
            } else {
                quoted = !quoted || !closes(kind, at + 1 == end ? '\0' : at[1]);
                endsEarly = endsEarly || !quoted;
            }
        }
    }

  private:
    // Quotes in structure texts are not escaped: only the character behind one tells what it is.
    static bool closes(Kind kind, char next) {
        return kind == Kind::kAssociations || next == ';' || Ascii::isBlank(next);
    }
};

bool hasSemicolon(std::string_view text) { return text.find(';') != std::string_view::npos; }

}  // namespace

std::optional<Kind> kindOf(std::string_view line) {
    for (const Kind kind : {Kind::kStructure, Kind::kAssociations}) {
        if (Ascii::startsWith(line, command(kind))) return kind;
    }
    return std::nullopt;
}

bool isSceneCommand(std::string_view line) {
    using namespace AccessorQuil::Ascii;
    const auto commands = {getConnectAttrCommandName, getCreateNodeCommandName,
                           getSetAttrCommandName, getRelationshipCommandName, getSelectCommandName};
    return std::any_of(commands.begin(), commands.end(),
                       [&](auto getter) { return Ascii::startsWith(line, getter()); });
}

bool isComment(std::string_view line) { return Ascii::startsWith(line, "//"); }

const char* unreadableMessage(Kind kind) {
    return kind == Kind::kStructure ? "Error tokenizing format/value for structure."
                                    : "Error tokenizing format/value for associations.";
}

std::optional<Parts> takeApart(Kind kind, std::string statement, const char*& message) {
    message = unreadableMessage(kind);
    joinLines(statement);
    if (statement.empty() || statement.back() != ';') return std::nullopt;
    statement.pop_back();

    const std::string_view all = statement;
    const Quotes quotes(all);
    if (!quotes.complete()) return std::nullopt;
    std::string_view front = all.substr(0, quotes.at[0]);
    const std::string_view middle = quotes.between(all, 1);
    std::string_view behind = Ascii::trimRight(all.substr(quotes.at[3] + 1));
    const Rest rest(kind, quotes.between(all, 2));
    if (hasSemicolon(front) || hasSemicolon(middle) || hasSemicolon(behind) || rest.isSeveral) {
        return std::nullopt;
    }
    const bool isStructure = kind == Kind::kStructure;
    const std::string_view target = isStructure ? std::string_view() : takeLastWord(behind);
    if (!isStructure && target.empty()) {
        message = "Could not find Associations name.";
        return std::nullopt;
    }
    SceneRecord record{kind,
                       std::string(quotes.between(all, 0)),
                       target == sceneFlag() ? std::string() : std::string(target),
                       {}};
    record.plain = !rest.endsEarly && Ascii::trim(behind).empty() &&
                   takeWord(front) == command(kind) && hasNoWordBut(formatFlag(kind), front) &&
                   hasNoWordBut(valueFlag(kind), middle);
    return Parts{std::move(record), std::move(statement), quotes.at[2] + 1, quotes.at[3]};
}

std::optional<std::string> nodeOf(std::string_view statement) {
    statement = Ascii::trimRight(statement);
    if (statement.empty() || statement.back() != ';') return std::nullopt;
    statement.remove_suffix(1);
    statement = Ascii::trimRight(statement);
    const std::string_view word = takeLastWord(statement);
    const bool isName = !statement.empty() && word.find_first_of("\";") == std::string_view::npos;
    if (!isName || word == formatFlag(Kind::kAssociations) ||
        word == valueFlag(Kind::kAssociations)) {
        return std::nullopt;
    }
    return word == sceneFlag() ? std::string() : std::string(word);
}

// Of the lines behind the text, and of that of the last quote itself, all may be comments but the
// one that closes the statement.
std::optional<std::string> nodeAtEnd(std::string_view end) {
    const std::size_t quote = end.rfind('"');
    if (quote == std::string_view::npos) return std::nullopt;
    const std::string_view behind = Ascii::trimRight(end.substr(quote + 1));
    const std::string_view line = behind.substr(behind.rfind('\n') + 1);
    // A word in front of the name lets `nodeOf` take it for one.
    return nodeOf("text " + std::string(line));
}

SceneRecord unescaped(Parts parts) {
    parts.line.resize(parts.textEnd);
    unescape(parts.line, parts.textBegin);
    parts.record.text = std::move(parts.line);
    return std::move(parts.record);
}

std::optional<SceneRecord> parse(Kind kind, std::string statement, const char*& message) {
    auto parts = takeApart(kind, std::move(statement), message);
    if (!parts) return std::nullopt;
    return unescaped(std::move(*parts));
}

bool isForOtherReaders(std::string_view statement) {
    const char behind = statement[statement.rfind('"') + 1];
    return statement.find("\n//") == std::string_view::npos &&
           (behind == ';' || Ascii::isBlank(behind));
}

std::string forOtherReaders(std::string_view statement) {
    std::string line(statement);
    const bool hasComments = statement.find("\n//") != std::string_view::npos;
    if (hasComments) {
        joinLines(line);
        line += '\n';
    }
    const std::size_t behind = line.rfind('"') + 1;
    if (line[behind] != ';' && !Ascii::isBlank(line[behind])) line.insert(behind, 1, ' ');
    return line;
}

std::string beginOf(const SceneRecord& record) {
    return command(record.kind) + ' ' + formatFlag(record.kind) + " \"" + record.format + "\" " +
           valueFlag(record.kind) + " \"";
}

std::string endOf(const SceneRecord& record) {
    if (record.kind == Kind::kStructure) return "\";\n";
    return "\" \n\t\t" + (record.name.empty() ? sceneFlag() : record.name) + ";\n";
}

void append(std::string& out, const SceneRecord& record) {
    out += beginOf(record);
    (record.kind == Kind::kStructure ? appendEscapedLines : appendEscaped)(out, record.text);
    out += endOf(record);
}

std::vector<std::size_t> placesOf(std::string_view statement,
                                  const std::vector<std::size_t>& offsets) {
    const Quotes quotes(statement);
    if (!quotes.complete()) return {};
    const std::size_t begin = quotes.at[2] + 1;
    const std::size_t end = quotes.at[3];
    if (statement.substr(0, end).find('\n') != std::string_view::npos) return {};
    std::vector<std::size_t> places;
    EscapedText text(statement.substr(begin, end - begin));
    for (const std::size_t offset : offsets) {
        if (!text.goTo(offset)) return {};
        places.push_back(begin + text.place());
    }
    return places;
}

bool canBeTarget(std::string_view nodeName) {
    if (nodeName.empty()) return true;
    const bool plain = std::all_of(nodeName.begin(), nodeName.end(), [](char c) {
        return !Ascii::isBlank(c) && c != '"' && c != ';' && c != '\0';
    });
    return plain && !isComment(nodeName) && nodeName != sceneFlag();
}

}  // namespace orbo::Data::TextStatement
