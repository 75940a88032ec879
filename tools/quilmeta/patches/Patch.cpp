// What differs between the metadata of two scenes, change by change.
// SPDX-License-Identifier: Apache-2.0
#include "patches/Patch.h"

#include "json/JsonText.h"
#include "json/JsonValues.h"
#include "process/CommandError.h"
#include "values/SafeText.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <utility>

namespace orbo::Quilmeta {

namespace {

using Kind = JsonCursor::Kind;

constexpr const char* kWords[] = {"set", "element", "stream", "structure"};

std::optional<Change::Kind> kindFor(const std::string& word) {
    const auto* const found = std::find(std::begin(kWords), std::end(kWords), word);
    if (found == std::end(kWords)) return {};
    return static_cast<Change::Kind>(found - std::begin(kWords));
}

/// The name that a change has under this key; null for other keys.
std::string* nameOf(Change& change, std::string_view key) {
    const bool ofStructure = change.kind == Change::Kind::kStructure;
    if (key == "structure") return ofStructure ? &change.structure : nullptr;
    if (ofStructure) return nullptr;
    if (key == "node") return &change.node;
    if (key == "channel") return &change.channel;
    if (key == "stream") return &change.stream;
    if (key == "member") return change.kind == Change::Kind::kSet ? &change.member : nullptr;
    return nullptr;
}

bool hasIndex(const Change& change) {
    return change.kind == Change::Kind::kSet || change.kind == Change::Kind::kElement;
}

/// The value that a change has under this key; null for other keys.
std::string* valueOf(Change& change, std::string_view key) {
    if (key == "old") return &change.before;
    if (key == "new") return &change.after;
    return key == "index" && hasIndex(change) ? &change.index : nullptr;
}

size_t keyCount(const Change& change) {
    switch (change.kind) {
        case Change::Kind::kSet:
            return 8;
        case Change::Kind::kElement:
            return 7;
        case Change::Kind::kStream:
            return 6;
        case Change::Kind::kStructure:
            break;
    }
    return 4;
}

Change::Source& sourceOf(Change& change, std::string_view key) {
    if (key == "index") return change.indexSource;
    return key == "old" ? change.beforeSource : change.afterSource;
}

/// Reads the changes of a patch.
class PatchReader : public JsonVisitor {
  public:
    explicit PatchReader(JsonProblems& problems) : fProblems(problems) {}

    Take take(const JsonPath& path, bool isList) override {
        if (path.depth() == 0 && !isList) return Take::kOpen;
        return path.depth() == 1 && isList && path.key(0) == "changes" ? Take::kOpen : Take::kWhole;
    }

    void value(JsonPath& path, JsonCursor cursor) override {
        ValueFromJson from(path, fProblems);
        if (path.depth() == 0) return from.problem(cursor, "is not an object");
        if (path.depth() == 2) return addChange(from, cursor);
        if (path.key(0) == "changes") {
            fHasChanges = true;
            return from.problem(cursor, "is not a list");
        }
        if (path.key(0) == "file" || path.key(0) == "to") return (void)from.text(cursor);
        if (path.key(0) != "quilmetaPatch") return from.problem(cursor, "is unknown");
        fHasVersion = true;
        if (cursor.kind() != Kind::kNumber || JsonCursor(cursor).number() != "1")
            from.problem(cursor, "is a version that this program does not know");
    }

    void end(const JsonPath& path, size_t line) override {
        if (path.depth() == 1) fHasChanges = true;
        if (path.depth() == 0 && !fHasVersion)
            fProblems.add(line, path, "has no \"quilmetaPatch\": this is no patch");
        if (path.depth() == 0 && !fHasChanges) fProblems.add(line, path, "has no \"changes\"");
    }

    Patch patch;

  private:
    /// The kind decides which other keys there are, so it is looked for first.
    std::optional<Change::Kind> kindOf(ValueFromJson& from, JsonCursor cursor) {
        JsonCursor here = cursor;
        if (!from.expect(cursor, Kind::kObject, "an object")) return {};
        cursor = here;
        std::string key;
        for (cursor.open(); cursor.next(key);) {
            if (key != "change" || cursor.kind() != Kind::kString) {
                cursor.skip();
                continue;
            }
            if (const auto kind = kindFor(cursor.string())) return kind;
        }
        from.problem(here,
                     "has no \"change\" that is \"set\", \"element\", \"stream\" or "
                     "\"structure\"");
        return {};
    }

    void addChange(ValueFromJson& from, JsonCursor& cursor) {
        const std::optional<Change::Kind> kind = kindOf(from, cursor);
        if (!kind) return;
        Change change;
        change.kind = *kind;
        change.number = patch.changes.size();
        JsonCursor here = cursor;
        size_t keys = 0;
        bool good = from.object(cursor, [&](const std::string& key) {
            if (std::string* name = nameOf(change, key)) {
                const auto text =
                    key == "structure" || key == "member" ? from.name(cursor) : from.text(cursor);
                *name = text.value_or("");
            } else if (std::string* value = valueOf(change, key)) {
                sourceOf(change, key) = {cursor.line(), key};
                *value = cursor.skip();
                if (key == "index") *value = onOneLine(*value);
            } else if (key == "change") {
                cursor.skip();
            } else {
                return false;
            }
            return ++keys, true;
        });
        if (good && keys < keyCount(change)) from.problem(here, "lacks one of its keys");
        if (good && change.adds() && change.removes())
            from.problem(here, "has neither an old nor a new value");
        patch.changes.push_back(std::move(change));
    }

    JsonProblems& fProblems;
    bool fHasVersion = false;
    bool fHasChanges = false;
};

}  // namespace

const char* wordFor(Change::Kind kind) { return kWords[static_cast<size_t>(kind)]; }

std::string onOneLine(std::string_view json) {
    std::string line(json);
    line.erase(std::remove(line.begin(), line.end(), '\n'), line.end());
    return line;
}

std::string Change::place() const {
    if (kind == Kind::kStructure) return "structure " + shownName(structure);
    std::string place = node.empty() ? "scene" : "node " + shownName(node);
    place += ", channel " + shownName(channel) + ", stream " + shownName(stream);
    if (hasIndex(*this)) place += ", index " + index;
    if (kind == Kind::kSet) place += ", member " + shownName(member);
    return place;
}

Patch reversed(Patch patch) {
    std::reverse(patch.changes.begin(), patch.changes.end());
    for (Change& change : patch.changes) {
        change.before.swap(change.after);
        std::swap(change.beforeSource, change.afterSource);
    }
    return patch;
}

namespace {

/// Adds what the change has under each of the keys that it has.
void addKeys(JsonObject& object, Change change, std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        if (const std::string* name = nameOf(change, key))
            object.add(key, *name);
        else if (const std::string* value = valueOf(change, key))
            object.addJson(key, *value);
    }
}

constexpr auto kPlaceKeys = {"structure", "node", "channel", "stream", "index", "member"};

}  // namespace

JsonObject placeJsonOf(const Change& change, const char* kind) {
    JsonObject object;
    object.add(kind, std::string_view(wordFor(change.kind)));
    addKeys(object, change, kPlaceKeys);
    return object;
}

JsonObject jsonOf(const Change& change, const PatchFiles* files) {
    JsonObject object;
    if (files) object.add("file", files->file).add("to", files->to);
    object.add("change", std::string_view(wordFor(change.kind)));
    addKeys(object, change, kPlaceKeys);
    addKeys(object, change, {"old", "new"});
    return object;
}

void write(const Patch& patch, Output& output, const PatchFiles* files) {
    JsonObject head;
    head.add("quilmetaPatch", 1);
    if (files) head.add("file", files->file).add("to", files->to);
    output.write(head.addJson("changes", "[").unfinished());
    const char* gap = "\n  ";
    for (const Change& change : patch.changes) {
        output.write(gap + jsonOf(change).text());
        gap = ",\n  ";
    }
    output.write(patch.changes.empty() ? "] }\n" : "\n] }\n");
}

Patch readPatch(JsonSource& source) {
    JsonProblems problems;
    PatchReader reader(problems);
    readJson(source, reader, problems);
    problems.demandNone();
    return std::move(reader.patch);
}

}  // namespace orbo::Quilmeta
