// The two metadata statements of text scenes: their texts, read and written.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneRecord.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

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
/// Takes it as other readers do: what a line begins with makes it one, the first quoted value is
/// the format, all from the third quote to the last is the text, the last word is the target.
/// Without these, or with a ";" outside of quotes, it is not understood: nothing is returned and
/// `message` says so.
std::optional<SceneRecord> parse(SceneRecord::Kind kind, std::string statement,
                                 const char*& message);
/// The same in two steps, for callers that may not want the text.
std::optional<Parts> takeApart(SceneRecord::Kind kind, std::string statement, const char*& message);
SceneRecord unescaped(Parts parts);
/// A statement that `parse` understands, for readers that take comments in it for a part of it and
/// want a blank in front of the target: as it is, or in one line and without its comments.
std::string forOtherReaders(std::string_view statement);
/// The node of an associations statement that `parse` does not understand, as far as it can be
/// told; empty for the scene itself.
std::optional<std::string> nodeOf(std::string_view statement);
/// The message about a statement without a ";" of its own.
const char* unreadableMessage(SceneRecord::Kind kind);

/// Appends the statement that `parse` gives the record back for. Format and name contain nothing
/// that needs quotes; see `canBeTarget`.
void append(std::string& out, const SceneRecord& record);
/// False for node names that a statement cannot carry.
bool canBeTarget(std::string_view nodeName);

/// Undoes both escapes, in place; what stands in front of `begin` goes.
void unescape(std::string& text, std::size_t begin = 0);
/// Of structure texts, which is all that other readers undo there.
void appendEscapedLines(std::string& out, std::string_view text);
/// Of associations texts.
void appendEscaped(std::string& out, std::string_view text);

}  // namespace orbo::Data::TextStatement
