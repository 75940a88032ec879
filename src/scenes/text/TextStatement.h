// The two metadata statements of text scenes, taken apart and put together.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneRecord.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Data::TextStatement {

/// The kind of the statement that begins with this line; empty when none does.
std::optional<SceneRecord::Kind> kindOf(std::string_view line);
/// Whether the line begins one of the scene's own statements, which end the metadata.
bool isSceneCommand(std::string_view line);
bool isComment(std::string_view line);

/// A statement taken apart.
struct Parts {
    SceneRecord record;  // all but the text
    std::string line;    // the whole statement
    std::size_t textBegin = 0;
    std::size_t textEnd = 0;
};

/// Takes a whole statement apart, from its command word to the end of the line that its ";" closes.
/// Takes it as other readers do: its first word decides the kind, the first quoted value is the
/// format, everything from the third quote to the last is the text, the last word is the target.
/// Returns nothing, and sets `message`, when one of these is missing or a ";" stands outside of
/// quotes.
std::optional<SceneRecord> parse(SceneRecord::Kind kind, std::string statement,
                                 const char*& message);
/// The same in two steps, for callers that may not want the text.
std::optional<Parts> takeApart(SceneRecord::Kind kind, std::string statement, const char*& message);
SceneRecord unescaped(Parts parts);
/// Whether readers that know no comments, and want a blank in front of the target, take the
/// statement as it stands.
bool isForOtherReaders(std::string_view statement);
/// Makes a statement that `parse` understands readable for readers that know no comments and want a
/// blank in front of the target. Joins its lines only if there are comments among them.
std::string forOtherReaders(std::string_view statement);
/// The node of an associations statement that `parse` does not understand, if it can be told; the
/// empty string is the scene itself.
std::optional<std::string> nodeOf(std::string_view statement);
/// The same by the end of a statement that is closed, which need not be understood. Nothing where
/// the whole statement may tell more.
std::optional<std::string> nodeAtEnd(std::string_view end);
/// The message about a statement without a ";" of its own.
const char* unreadableMessage(SceneRecord::Kind kind);

/// Appends the statement from which `parse` gets the record back. The format contains no quotes,
/// and the name passes `canBeTarget`.
void append(std::string& out, const SceneRecord& record);
/// Both give what `append` puts around the text.
std::string beginOf(const SceneRecord& record);
std::string endOf(const SceneRecord& record);
/// See `SceneSplicing::placesOf`. Knows only statements whose text stands in their first line.
std::vector<std::size_t> placesOf(std::string_view statement,
                                  const std::vector<std::size_t>& offsets);
/// False for node names that a statement cannot carry.
bool canBeTarget(std::string_view nodeName);

/// Undoes the escapes of both kinds of text in place, and removes everything in front of `begin`.
void unescape(std::string& text, std::size_t begin = 0);
/// Returns the first quote that no backslash escapes, or `end`.
const char* findBareQuote(const char* at, const char* end);
/// Escapes a structure text: only line feeds, which is all that other readers undo there.
void appendEscapedLines(std::string& out, std::string_view text);
/// Escapes an associations text.
void appendEscaped(std::string& out, std::string_view text);

}  // namespace orbo::Data::TextStatement
