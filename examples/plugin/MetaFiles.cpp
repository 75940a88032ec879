// A kind of scene as a plug-in: a `.meta` file is nothing but metadata, one statement a line.
//     #meta
//     structure<TAB>raw<TAB>name=Point:float=x
//     associations<TAB>raw<TAB>lid<TAB>channel\nname marks\n...
// Associations name their node behind the format; the scene itself has an empty name. `\\`, `\n`,
// `\r` and `\t` are escapes. All other lines belong to others, and stay as they are.
// SPDX-License-Identifier: Apache-2.0
#include <data/SceneAccessor.h>

#include <algorithm>

namespace {

using namespace orbo::Data;
using Kind = SceneRecord::Kind;

constexpr std::string_view kHeader = "#meta";
constexpr std::string_view kStructure = "structure\t", kAssociations = "associations\t";
constexpr std::string_view kEscaped = "\\\n\r\t", kLetters = "\\nrt";

void appendField(std::string& bytes, std::string_view field, char end) {
    for (const char c : field) {
        const std::size_t letter = kEscaped.find(c);
        if (letter != std::string_view::npos) bytes += '\\';
        bytes += letter == std::string_view::npos ? c : kLetters[letter];
    }
    bytes += end;
}

// False when there is no `end`, or an escape that is none of ours.
bool takeField(std::string_view& line, char end, std::string& field) {
    const std::size_t size = line.find(end);
    if (size == std::string_view::npos) return false;
    for (std::size_t at = 0; at < size; ++at) {
        const bool isEscape = line[at] == '\\';
        const std::size_t letter = isEscape ? kLetters.find(line[++at]) : 0;
        if (letter == std::string_view::npos) return false;
        field += isEscape ? kEscaped[letter] : line[at];
    }
    line.remove_prefix(size + 1);
    return true;
}

class MetaFiles final : public SceneKind {
  public:
    bool recognise(SceneInput& input, Finding& problem) const override {
        problem.message = "The file does not begin with \"#meta\".";
        return input.bytes(0, kHeader.size()) == kHeader;
    }

    // Holds one block of the file at a time, and of each line the first word.
    ScanEnd scan(SceneInput& input, SceneVisitor& visitor,
                 std::unique_ptr<SceneLayout>&) const override {
        const auto size = input.size();
        if (!size || !isRecognised(input, visitor)) return ScanEnd::kFailed;
        SceneRecordRange line;
        std::string word;
        for (std::uint64_t at = 0; at < *size;) {
            const auto block = input.bytes(at, std::min<std::uint64_t>(*size - at, 65536));
            if (!block) return ScanEnd::kFailed;
            for (const char c : *block) {
                if (word.size() < kAssociations.size()) word += c;
                if (++at < *size && c != '\n') continue;
                line.end = at;
                const bool isStructure = word.compare(0, kStructure.size(), kStructure) == 0;
                line.kind = isStructure ? Kind::kStructure : Kind::kAssociations;
                if (isStructure || word == kAssociations) {
                    if (!visitor.wantsMore()) return ScanEnd::kStopped;
                    if (!visitor.found(line)) return ScanEnd::kFailed;
                }
                line.begin = at;
                word.clear();
            }
        }
        return ScanEnd::kComplete;
    }

    std::optional<SceneRecord> parse(const SceneRecordRange& range, std::string bytes,
                                     const std::set<std::string>*,
                                     Finding& problem) const override {
        bytes.replace(bytes.find_last_not_of("\r\n") + 1, std::string::npos, "\n");
        std::string_view line = bytes;
        std::string word;
        SceneRecord record;
        record.kind = range.kind;
        if (takeField(line, '\t', word) && takeField(line, '\t', record.format) &&
            (range.kind == Kind::kStructure || takeField(line, '\t', record.name)) &&
            takeField(line, '\n', record.text)) {
            return record;
        }
        problem.message = "The statement lacks a field, or has an unknown escape.";
        return std::nullopt;
    }

    bool format(const SceneRecord& record, std::string& bytes) const override {
        const bool isStructure = record.kind == Kind::kStructure;
        bytes += isStructure ? kStructure : kAssociations;
        appendField(bytes, record.format, '\t');
        if (!isStructure) appendField(bytes, record.name, '\t');
        appendField(bytes, record.text, '\n');
        return true;
    }

    // Lines of others stay in front of the record they are in front of; new records end the file.
    std::vector<SceneChange> changes(const SceneLayout& layout, std::string_view tail,
                                     const ScenePlan& plan, Finding&) const override {
        const char* const lineEnd = tail.substr(kHeader.size(), 1) == "\r" ? "\r" : "";
        const std::size_t last = tail.size() - (tail.back() == '\n' ? 1 : 0);
        // With the line feed in front of it in place of its own, which the last line may lack.
        const auto lineOf = [&](const SceneRecordRange& range) {
            const std::size_t end = range.end == tail.size() ? last : range.end - 1;
            return tail.substr(range.begin - 1, end - (range.begin - 1));
        };
        std::vector<std::pair<std::string_view, bool>> lines;  // and whether a new one may go there
        for (const SceneLayout::Item& item : layout.records) {
            if (item.understood) lines.emplace_back(lineOf(item.range), !item.kept);
        }
        lines.emplace_back(tail.substr(last, 0), true);
        std::string file;
        const char* at = tail.data();
        auto next = lines.begin();
        const auto passNext = [&] {
            file.append(at, next->first.data());
            at = next->first.data() + next->first.size();
            if (!next->first.empty()) ++next;
        };
        for (const auto& [part, old, bytes] : plan.entries) {
            while (old && at <= lineOf(old->range).data()) passNext();
            if (!old && next->second) passNext();
            file += old ? std::string(lineOf(old->range))
                        : '\n' + bytes.substr(0, bytes.size() - 1) + lineEnd;
        }
        while (!next->first.empty()) passNext();
        file.append(at, tail.data() + tail.size());
        return {{0, tail, {{file, "Could not write the statements."}}}};
    }
};

// Serves files named "*.meta" while the plug-in is loaded.
const SceneKindFactory<MetaFiles> factory("meta");

}  // namespace
