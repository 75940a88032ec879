// Reads the document of `export`.
// SPDX-License-Identifier: Apache-2.0
#include "json/DocumentReader.h"

#include "process/CommandError.h"
#include "streams/StreamAccess.h"
#include "values/CarriedText.h"
#include "values/SafeText.h"

#include <data/Channel.h>

#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

namespace {

using Kind = JsonCursor::Kind;
using Text = std::optional<std::string>;

// The depths of the document: what a path of so many steps leads to.
enum Depth : size_t {
    kDocument,
    kParts,
    kNode,  // or a structure
    kNodeParts,
    kChannel,
    kChannelParts,
    kStream,
    kStreamParts,
    kElement,
};

/// Whether the path leads to a list or object that is shown value by value.
bool isContainer(const JsonPath& path, bool isList) {
    const size_t depth = path.depth();
    if (isList != (depth % 2 == 1)) return false;
    switch (depth) {
        case kDocument:
            return true;
        case kParts:
            return path.key(0) == "structures" || path.key(0) == "associations";
        case kNode:
            return path.key(0) == "associations";
        case kNodeParts:
            return path.key(kNode) == "channels";
        case kChannelParts:
            return path.key(kChannel) == "streams";
        case kStreamParts:
            return path.key(kStream) == "elements";
        default:
            return depth < kElement;
    }
}

/// A part of the tree as the first pass finds it.
struct Part {
    size_t line = 0;  // of the name
    Text name;
    bool hasContent = false;
};
struct StreamPart : Part {
    Text structure, indexType;
};
struct ChannelPart : Part {
    std::vector<StreamPart> streams;
};
struct NodePart : Part {
    std::vector<ChannelPart> channels;
};

/// Reads everything but the elements.
class Outline : public JsonVisitor {
  public:
    Outline(JsonProblems& problems, JsonProblems& doubts) : fProblems(problems), fDoubts(doubts) {}

    Take take(const JsonPath& path, bool isList) override {
        if (!isContainer(path, isList)) return Take::kWhole;
        switch (path.depth()) {
            case kParts:
                fParts.emplace(path.key(0));
                break;
            case kNode:
                nodes.emplace_back();
                break;
            case kNodeParts:
                nodes.back().hasContent = true;
                break;
            case kChannel:
                nodes.back().channels.emplace_back();
                break;
            case kChannelParts:
                channel().hasContent = true;
                break;
            case kStream:
                channel().streams.emplace_back();
                break;
            case kStreamParts:
                stream().hasContent = true;
                return Take::kSkip;
            default:
                break;
        }
        return Take::kOpen;
    }

    void value(JsonPath& path, JsonCursor cursor) override {
        ValueFromJson from(path, fProblems, &fDoubts);
        switch (path.depth()) {
            case kDocument:
                return from.problem(cursor, "is not an object");
            case kParts:
                return part(from, cursor);
            case kNode:
                if (path.key(0) == "structures") return addStructure(from, cursor);
                [[fallthrough]];
            case kChannel:
            case kStream:
                return from.problem(cursor, "is not an object");
            case kNodeParts:
                return key(from, cursor, nodes.back(), "channels");
            case kChannelParts:
                return key(from, cursor, channel(), "streams");
            default:
                return streamKey(from, cursor);
        }
    }

    void end(const JsonPath& path, size_t line) override {
        const auto check = [&](const Part& part, const char* content) {
            if (!part.name) fProblems.add(line, path, "has no name");
            if (!part.hasContent) fProblems.add(line, path, std::string("has no ") + content);
        };
        if (path.depth() == kDocument) return checkParts(path, line);
        if (path.depth() == kNode) return check(nodes.back(), "channels");
        if (path.depth() == kChannel) return check(channel(), "streams");
        if (path.depth() != kStream) return;
        check(stream(), "elements");
        if (!stream().structure) fProblems.add(line, path, "has no structure");
        if (!stream().indexType) fProblems.add(line, path, "has no indexType");
    }

    std::map<std::string, RefPtr<const Data::Structure>> structures;
    std::vector<NodePart> nodes;

  private:
    ChannelPart& channel() { return nodes.back().channels.back(); }
    StreamPart& stream() { return channel().streams.back(); }

    void part(ValueFromJson& from, JsonCursor& cursor) {
        const std::string key(from.path().key(0));
        fParts.insert(key);
        if (key == "structures" || key == "associations")
            from.problem(cursor, "is not a list");
        else if (key == "file")  // where `show` found it
            from.text(cursor);
        else if (key != "quilmeta")
            from.problem(cursor, "is unknown");
        else if (cursor.kind() != Kind::kNumber || JsonCursor(cursor).number() != "1")
            from.problem(cursor, "is a version that this program does not know");
    }

    void checkParts(const JsonPath& path, size_t line) {
        for (const char* key : {"quilmeta", "structures", "associations"})
            if (fParts.count(key) == 0)
                fProblems.add(line, path, "has no " + inQuotes(key) + ", as `export` writes it");
    }

    void addStructure(ValueFromJson& from, JsonCursor& cursor) {
        JsonCursor here = cursor;
        const auto structure = from.structure(cursor);
        if (structure && !structures.emplace(structure->name(), structure).second)
            from.problem(here, "comes twice: structure " + inQuotes(structure->name()));
    }

    static void key(ValueFromJson& from, JsonCursor& cursor, Part& part, const char* content) {
        const std::string_view key = from.path().key(from.path().depth() - 1);
        if (key == "name") {
            JsonCursor here = cursor;
            part.line = cursor.line();
            part.name = from.text(cursor);
            const bool isNode = from.path().depth() == kNodeParts;
            if (part.name && !isNode) from.doubt(here, problemOfName(*part.name));
        } else if (key == content)
            from.problem(cursor, "is not a list");
        else
            from.problem(cursor, "is unknown");
    }

    void indexType(ValueFromJson& from, JsonCursor& cursor) {
        JsonCursor here = cursor;
        stream().indexType = from.text(cursor);
        if (stream().indexType) from.doubt(here, problemOfIndexType(*stream().indexType));
    }

    void streamKey(ValueFromJson& from, JsonCursor& cursor) {
        const std::string_view name = from.path().key(kStream);
        if (name == "structure")
            stream().structure = from.name(cursor);
        else if (name == "indexType")
            indexType(from, cursor);
        else
            key(from, cursor, stream(), "elements");
    }

    JsonProblems& fProblems;
    JsonProblems& fDoubts;
    std::set<std::string> fParts;
};

/// Makes the model of an outline, with streams that have no elements yet.
class ModelBuilder {
  public:
    ModelBuilder(SceneModel& model, JsonProblems& problems) : fModel(model), fProblems(problems) {}

    /// The streams are in the order of the document; null for one that is wrong.
    std::vector<Data::Stream*> build(const std::vector<NodePart>& nodes) {
        for (size_t i = 0; i < nodes.size(); ++i) {
            const JsonStep step(fPath, i);
            add(nodes[i]);
            fModel.places.try_emplace(nodes[i].name.value_or(""),
                                      SceneModel::Place{nodes[i].line, i});
        }
        return std::move(fStreams);
    }

  private:
    void twice(const Part& part, const char* what) {
        fProblems.add(part.line, fPath,
                      std::string("comes twice: ") + what + ' ' + inQuotes(*part.name));
    }

    void add(const NodePart& part) {
        const std::string name = part.name.value_or("");
        const auto [node, isNew] = fModel.nodes.try_emplace(name);
        if (!isNew && part.name) twice(part, "node");
        const JsonStep step(fPath, "channels");
        for (size_t i = 0; i < part.channels.size(); ++i) {
            const JsonStep item(fPath, i);
            add(part.channels[i], node->second);
        }
    }

    void add(const ChannelPart& part, Data::Associations& node) {
        const std::string name = part.name.value_or("");
        if (part.name && node.findChannel(name)) twice(part, "channel");
        Data::Channel channel = node.channel(name);
        const JsonStep step(fPath, "streams");
        for (size_t i = 0; i < part.streams.size(); ++i) {
            const JsonStep item(fPath, i);
            fStreams.push_back(add(part.streams[i], channel));
        }
    }

    Data::Stream* add(const StreamPart& part, Data::Channel& channel) {
        if (!part.name || !part.structure || !part.indexType) return nullptr;
        if (channel.findDataStream(*part.name)) return twice(part, "stream"), nullptr;
        const auto structure = fModel.structures.find(*part.structure);
        if (structure == fModel.structures.end()) {
            fProblems.add(part.line, fPath,
                          "the document has no structure " + inQuotes(*part.structure));
            return nullptr;
        }
        Data::Stream stream(*structure->second, *part.name);
        Data::StreamAccess::setIndexType(stream, *part.indexType);
        return channel.setDataStream(stream);
    }

    SceneModel& fModel;
    JsonProblems& fProblems;
    JsonPath fPath = [] {
        JsonPath path;
        path.enter("associations");
        return path;
    }();
    std::vector<Data::Stream*> fStreams;
};

/// Reads the elements into the streams.
class Elements : public JsonVisitor {
  public:
    Elements(std::vector<Data::Stream*> streams, JsonProblems& problems, JsonProblems& doubts)
        : fStreams(std::move(streams)), fProblems(problems), fDoubts(doubts) {}

    Take take(const JsonPath& path, bool isList) override {
        if (path.depth() == kElement) return Take::kWhole;
        if (path.depth() > 0 && path.key(0) != "associations") return Take::kSkip;
        if (!isContainer(path, isList)) return Take::kSkip;
        if (path.depth() == kStream)
            fStream = fNext < fStreams.size() ? fStreams[fNext++] : nullptr;
        return path.depth() == kStreamParts && !fStream ? Take::kSkip : Take::kOpen;
    }

    void value(JsonPath& path, JsonCursor cursor) override {
        if (path.depth() != kElement) return;
        ValueFromJson from(path, fProblems, &fDoubts);
        addElement(from, cursor, *fStream);
    }

    void end(const JsonPath&, size_t) override {}

  private:
    std::vector<Data::Stream*> fStreams;
    size_t fNext = 0;
    Data::Stream* fStream = nullptr;
    JsonProblems& fProblems;
    JsonProblems& fDoubts;
};

}  // namespace

SceneModel readDocument(JsonSource& source) {
    JsonProblems problems;
    SceneModel model;
    Outline outline(problems, model.doubts);
    if (!readJson(source, outline, problems)) problems.demandNone();
    model.structures = outline.structures;
    Elements elements(ModelBuilder(model, problems).build(outline.nodes), problems, model.doubts);
    outline.nodes.clear();
    source.rewind();
    readJson(source, elements, problems);
    if (!problems.empty()) problems.add(model.doubts);
    problems.demandNone();
    return model;
}

}  // namespace orbo::Quilmeta
