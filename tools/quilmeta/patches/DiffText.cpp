// Prints differences for people.
// SPDX-License-Identifier: Apache-2.0
#include "patches/DiffText.h"

#include "json/JsonCursor.h"
#include "process/Style.h"
#include "values/SafeText.h"
#include "values/Utf8.h"
#include "values/Wording.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Kind = Change::Kind;

/// The place of the stream that a change is in, or of the structure.
std::string headingOf(const Change& change) {
    Change stream = change;
    if (change.kind != Kind::kStructure) stream.kind = Kind::kStream;
    return stream.place();
}

/// Cuts a text for a terminal, between characters.
std::string cut(std::string text) {
    constexpr size_t kMost = 200;
    size_t end = 0;
    while (end < text.size() && end < kMost)
        end += firstCharacter(std::string_view(text).substr(end)).size;
    if (end < text.size()) text.replace(end, text.npos, "...");
    return text;
}

std::string nameIn(JsonCursor& cursor) {
    if (cursor.kind() == JsonCursor::Kind::kString) return shownName(cursor.string());
    return std::string(cursor.skip());
}

/// "12 elements of Joint, string index" for the JSON of a stream.
std::string streamText(const std::string& json) {
    std::string structure, indexType, key;
    size_t elements = 0;
    JsonCursor cursor(json);
    if (cursor.kind() != JsonCursor::Kind::kObject) return json;
    for (cursor.open(); cursor.next(key);) {
        if (key == "structure") {
            structure = nameIn(cursor);
        } else if (key == "indexType") {
            indexType = nameIn(cursor);
        } else if (key == "elements" && cursor.kind() == JsonCursor::Kind::kList) {
            for (cursor.open(); cursor.next(); ++elements) cursor.skip();
        } else {
            cursor.skip();
        }
    }
    return fmt::format("{} of {}, {} index", counted(elements, "element"), structure, indexType);
}

/// "label:string position:float[3]" for the JSON of a structure; members that are not written as
/// usual stay JSON.
std::string structureText(const std::string& json) {
    JsonCursor cursor(json);
    std::string text, key;
    if (cursor.kind() != JsonCursor::Kind::kObject) return json;
    for (cursor.open(); cursor.next(key);) {
        if (key != "members" || cursor.kind() != JsonCursor::Kind::kList) {
            cursor.skip();
            continue;
        }
        for (cursor.open(); cursor.next();) {
            std::string name, type, length;
            if (cursor.kind() != JsonCursor::Kind::kObject) return json;
            for (cursor.open(); cursor.next(key);)
                (key == "name" ? name : key == "type" ? type : length) = nameIn(cursor);
            text += fmt::format("{}{}:{}", text.empty() ? "" : " ", name, type);
            if (length != "1") text += '[' + length + ']';
        }
    }
    return text.empty() ? "no members" : text;
}

/// The text of an old or new value behind its sign.
std::string textOf(const Change& change, const std::string& value) {
    switch (change.kind) {
        case Kind::kSet:
            return fmt::format("index {}, {}: {}", change.index, shownName(change.member), value);
        case Kind::kElement:
            return fmt::format("index {}: {}", change.index, value);
        case Kind::kStream:
            return streamText(value);
        case Kind::kStructure:
            break;
    }
    return structureText(value);
}

}  // namespace

void printDifferences(const Patch& patch, const std::string& left, const std::string& right,
                      Output& output) {
    if (patch.changes.empty()) return;
    const Style style(output);
    const bool cuts = output.isTerminal();
    const auto line = [&](Hue hue, std::string text) {
        output.write(style(hue, cuts ? cut(std::move(text)) : text) + '\n');
    };
    line(Hue::kRemoved, "--- " + shownPath(left));
    line(Hue::kAdded, "+++ " + shownPath(right));
    std::string before;
    for (const Change& change : patch.changes) {
        const std::string heading = headingOf(change);
        if (heading != before) line(Hue::kPlace, heading);
        before = heading;
        if (!change.adds()) line(Hue::kRemoved, "- " + textOf(change, change.before));
        if (!change.removes()) line(Hue::kAdded, "+ " + textOf(change, change.after));
    }
}

namespace {

struct Counts {
    std::string heading;
    const Change* first = nullptr;
    size_t added = 0, removed = 0, changed = 0;

    void add(const Change& change) {
        ++(change.adds() ? added : change.removes() ? removed : changed);
    }
    [[nodiscard]] std::string text() const {
        std::string text;
        const auto part = [&](size_t count, const char* what) {
            if (count > 0) text += fmt::format("{}{} {}", text.empty() ? "" : ", ", count, what);
        };
        part(changed, "changed");
        part(added, "added");
        part(removed, "removed");
        return text;
    }
};

/// The counts of each stream and structure; they refer to the patch.
std::vector<Counts> countsOf(const Patch& patch) {
    std::vector<Counts> counts;
    for (const Change& change : patch.changes) {
        const std::string heading = headingOf(change);
        if (counts.empty() || counts.back().heading != heading)
            counts.push_back({heading, &change});
        counts.back().add(change);
    }
    return counts;
}

}  // namespace

std::vector<JsonObject> statisticsOf(const Patch& patch, const PatchFiles& files) {
    std::vector<JsonObject> objects;
    for (const Counts& one : countsOf(patch)) {
        JsonObject object;
        object.add("file", files.file).add("to", files.to);
        if (one.first->kind == Kind::kStructure)
            object.add("structure", one.first->structure);
        else
            object.add("node", one.first->node)
                .add("channel", one.first->channel)
                .add("stream", one.first->stream);
        object.add("changed", one.changed).add("added", one.added).add("removed", one.removed);
        objects.push_back(std::move(object));
    }
    return objects;
}

void printStatistics(const Patch& patch, Output& output) {
    const Style style(output);
    Counts all;
    for (const Change& change : patch.changes) all.add(change);
    const std::vector<Counts> counts = countsOf(patch);
    for (const Counts& one : counts)
        output.write(style(Hue::kPlace, one.heading) + ": " + one.text() + '\n');
    if (!counts.empty())
        output.write(fmt::format("{}: {}\n", counted(patch.changes.size(), "change"), all.text()));
}

}  // namespace orbo::Quilmeta
