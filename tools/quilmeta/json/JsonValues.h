// Turns JSON values into values of metadata.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "json/JsonCursor.h"
#include "json/JsonPath.h"
#include "json/JsonProblems.h"

#include <data/Handle.h>
#include <data/Index.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <optional>
#include <string>

namespace orbo::Quilmeta {

/// Takes values from a cursor. What is not as the document of `export` has it is added to the
/// problems, with the path, which is that of the cursor's value.
class ValueFromJson {
  public:
    /// Adds what scene files could not hold to `doubts` unless that is null.
    ValueFromJson(JsonPath& path, JsonProblems& problems, JsonProblems* doubts = nullptr)
        : fPath(path), fProblems(problems), fDoubts(doubts) {}

    /// A string, or the bytes of { "base64": "..." }.
    std::optional<std::string> text(JsonCursor& cursor);
    /// The same for a name that cannot hold a byte 0.
    std::optional<std::string> name(JsonCursor& cursor);
    /// A whole number from 0 to 4294967295.
    std::optional<unsigned int> number(JsonCursor& cursor);
    /// A number, a list of two, or a text, as the type of index asks for.
    std::optional<Data::Index> index(JsonCursor& cursor, const std::string& indexType);
    /// { "name": ..., "members": [...] }; null when that is wrong.
    RefPtr<const Data::Structure> structure(JsonCursor& cursor);
    /// All values of one member, into the slot of an element. The slot owns its strings; false
    /// leaves it with some of the values.
    bool member(JsonCursor& cursor, const Data::Member& member, void* slot);
    /// The values of an element, all of them, in an object or, in member order, in a list.
    bool values(JsonCursor& cursor, const Data::Structure& structure, Data::Handle& element);

    /// False, with a problem, unless the cursor stands at that kind, which `what` names: "a list".
    bool expect(JsonCursor& cursor, JsonCursor::Kind kind, const char* what);
    void problem(JsonCursor& cursor, const std::string& message) {
        fProblems.add(cursor.line(), fPath, message);
    }
    /// Adds a doubt unless it is null.
    void doubt(JsonCursor& cursor, const char* message) {
        if (message && fDoubts) fDoubts->add(cursor.line(), fPath, message);
    }
    [[nodiscard]] JsonPath& path() { return fPath; }

    /// Calls `use(key)` for each key of an object, which must take the value or return false for a
    /// key that is unknown. False when the value is no object, or a key is unknown.
    template <typename Use>
    bool object(JsonCursor& cursor, Use&& use) {
        if (!expect(cursor, JsonCursor::Kind::kObject, "an object")) return false;
        bool good = true;
        std::string key;
        for (cursor.open(); cursor.next(key);) {
            const JsonStep step(fPath, std::string_view(key));
            if (use(key)) continue;
            problem(cursor, "is unknown");
            cursor.skip();
            good = false;
        }
        return good;
    }
    /// Calls `use(number)` for each item of a list, which must take it. False when the value is no
    /// list.
    template <typename Use>
    bool list(JsonCursor& cursor, Use&& use) {
        if (!expect(cursor, JsonCursor::Kind::kList, "a list")) return false;
        size_t count = 0;
        for (cursor.open(); cursor.next(); ++count) {
            const JsonStep step(fPath, count);
            use(count);
        }
        return true;
    }

  private:
    std::optional<std::string> fieldName(JsonCursor& cursor);
    bool memberInto(JsonCursor& cursor, Data::Structure& structure);
    template <typename Part>
    bool part(JsonCursor& cursor, Part& slot);
    bool part(JsonCursor& cursor, char*& slot);
    bool part(JsonCursor& cursor, bool& slot);
    template <typename Part>
    bool parts(JsonCursor& cursor, Part* slots, size_t count);
    template <typename Part>
    bool all(JsonCursor& cursor, Part* slots, size_t values, size_t perValue);

    JsonPath& fPath;
    JsonProblems& fProblems;
    JsonProblems* fDoubts;
};

/// Reads { "index": ..., "values": ... } into the stream, which must not have the index yet.
void addElement(ValueFromJson& from, JsonCursor& cursor, Data::Stream& stream);

/// False for a JSON text that has fewer characters than the values of an element would take, so
/// that nobody makes a huge element for it.
bool couldHold(std::string_view text, const Data::Structure& structure);

}  // namespace orbo::Quilmeta
