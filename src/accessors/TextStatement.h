// The two metadata statements of text scenes: their texts, read and written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "accessors/SceneRecord.h"

namespace orbo::Data::TextStatement {

/// Empty when a line begins neither of the statements.
std::optional<SceneRecord::Kind> kindOf(std::string_view line);
/// A line begins one of the scene's own statements that end the metadata.
bool isSceneCommand(std::string_view line);
bool isComment(std::string_view line);

/// A statement taken apart.
struct Parts {
    SceneRecord record;  // all but the text
    std::string line;    // the whole statement
    std::size_t textBegin = 0;
    std::size_t textEnd = 0;

    /// The text in the line.
    [[nodiscard]] std::string_view escapedText() const {
        return std::string_view(line).substr(textBegin, textEnd - textBegin);
    }
};

/// Takes a whole statement apart, from its command word to the end of the line that its ";" closes.
/// What is not exactly a command, its flags, two quoted values and, for associations, one target is
/// not understood: nothing is returned and `message` says so.
std::optional<SceneRecord> parse(SceneRecord::Kind kind, std::string statement,
                                 const char*& message);
/// The same in two steps, for who may not want the text: `parse` understands what both of these do,
/// and what `endsEarly` is no statement but several.
std::optional<Parts> takeApart(SceneRecord::Kind kind, std::string statement, const char*& message);
std::optional<SceneRecord> unescaped(Parts parts);
bool endsEarly(const Parts& parts);
/// A statement that `parse` understands, in one line and without the comments in it if it has some,
/// which other readers would take for a part of it.
std::string withoutComments(std::string_view statement);
/// The message about a statement without a ";" of its own.
const char* unreadableMessage(SceneRecord::Kind kind);

/// Appends the statement that `parse` gives the record back for. Format and name contain nothing
/// that needs quotes; see `canBeTarget`.
void append(std::string& out, const SceneRecord& record);
/// False for node names that a statement cannot carry.
bool canBeTarget(std::string_view nodeName);

/// Undoes both escapes, in place; what stands in front of `begin` goes. False for a text that has
/// quotes without a backslash though it should have none, of which nothing is left.
bool unescape(std::string& text, std::size_t begin = 0, bool hasQuotes = true);
/// Of structure texts, which is all that other readers undo there.
void appendEscapedLines(std::string& out, std::string_view text);
/// Of associations texts.
void appendEscaped(std::string& out, std::string_view text);

}  // namespace orbo::Data::TextStatement
