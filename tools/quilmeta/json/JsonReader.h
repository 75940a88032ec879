// Reads a JSON document of any size piece by piece.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonCursor.h"
#include "json/JsonPath.h"
#include "json/JsonProblems.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// The bytes of a document: from a text, or from a file of which it holds one piece in memory.
class JsonSource {
  public:
    /// Opens the file; "-" is standard input. What cannot be read twice, such as a pipe, goes
    /// through a temporary file. Throws `CommandError` without the file's name.
    static JsonSource ofFile(const std::string& file);
    /// The text must outlive the source.
    explicit JsonSource(std::string_view text) : fText(text) {}
    JsonSource(JsonSource&& other) noexcept;
    JsonSource& operator=(JsonSource&&) = delete;
    ~JsonSource();

    /// Begins anew, at the start of the file.
    void rewind();
    /// The next piece, which is good until the next call; empty at the end. Throws `CommandError`
    /// when it cannot be read.
    std::string_view next();

  private:
    explicit JsonSource(int descriptor);

    std::string_view fText;
    bool fIsGiven = false;  // the text, by `next`
    int fDescriptor = -1;   // -1 for a text
    std::string fPiece;
};

/// Learns what a document holds.
class JsonVisitor {
  public:
    enum class Take {
        kOpen,   ///< show its values one by one
        kWhole,  ///< show it as one value, which takes memory for its text
        kSkip,   ///< show nothing of it
    };

    virtual ~JsonVisitor() = default;
    /// Says how to take the list or object at this path.
    virtual Take take(const JsonPath& path, bool isList) = 0;
    /// Shows a value: a number, a string, a truth value, null, or what is taken whole. The text of
    /// the cursor is good for the call.
    virtual void value(JsonPath& path, JsonCursor value) = 0;
    /// A list or object that was opened is over, at that line.
    virtual void end(const JsonPath& path, size_t line) = 0;
};

/// Shows the document to the visitor, in its order. Adds to the problems where the text is no JSON
/// in UTF-8, or nested deeper than any document of ours, and then stops with false; and where an
/// object that is opened or taken whole has a key twice.
bool readJson(JsonSource& source, JsonVisitor& visitor, JsonProblems& problems);

}  // namespace orbo::Quilmeta
