// Makes the new records of nodes, which keep the bytes of what has not changed.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/writing/NodeMaker.h"

#include <utility>

#include "scenes/CheckedKind.h"
#include "scenes/Fingerprint.h"
#include "scenes/model/ModelPlace.h"
#include "scenes/reading/RecordReader.h"
#include "scenes/writing/ModelCompare.h"

namespace orbo::Data {

namespace {

using Code = Finding::Code;
using Splice = SceneSplicing::Splice;

// Names the place in front of a format's messages, which the format does not know.
std::string at(const std::string& place, const Findings& findings) {
    std::string messages;
    findings.appendTo(messages);
    return messages.empty() ? std::string() : place + ": " + messages;
}

void addFailure(const std::string& node, std::string message, Findings& findings) {
    Finding finding;
    finding.code = Code::kWriteFailed;
    finding.message = std::move(message);
    finding.node = node;
    findings.take(std::move(finding));
}

}  // namespace

NodeMaker::NodeMaker(const Sources& sources)
    : fSources(sources), fSplicing(splicingOf(sources.kind)) {}

std::optional<NodeMaker::Made> NodeMaker::make(const std::string& name,
                                               const std::optional<Old>& old, bool verifies,
                                               Findings& findings) {
    const Associations& node = *fSources.model.entry(name);
    const auto bytes = old ? oldBytes(name, *old) : std::nullopt;
    const KeptTexts kept =
        bytes ? keptTexts(node, fSources.digests.of(node), fSources.snapshot.texts.at(name), *bytes)
              : KeptTexts();
    Findings problems;
    auto made = recordOf(name, node, kept, fSources.policy.exactNumbers, problems);
    if (!made) {
        const SceneTraits& traits = fSources.kind.traits();
        addFailure(name, name.empty() ? traits.cannotMakeScene : traits.cannotMakeNode, findings);
        addFailure(name, at(ModelPlace::of(name), problems), findings);
        return std::nullopt;
    }
    if (verifies && !verify(name, *made, kept, findings)) return std::nullopt;
    Made result;
    SceneRecord& record = made->record;
    if (made->places.empty()) {
        if (!fSources.kind.format(record, result.bytes)) {
            addFailure(name, ModelPlace::of(name) + ": name cannot be written", findings);
            return std::nullopt;
        }
        result.textDigest = digestOfText(record.text);
    } else if (!splice(*made, *bytes, result)) {
        addFailure(name, ModelPlace::of(name) + " would not read back", findings);
        return std::nullopt;
    }
    record.text = std::string();
    result.record = std::move(record);
    return result;
}

// Takes the record apart and puts it together in the usual way if its parts cannot be moved as they
// are.
std::optional<RecordBytes> NodeMaker::oldBytes(const std::string& name, const Old& old) {
    const auto text = fSources.snapshot.texts.find(name);
    if (!fSplicing || text == fSources.snapshot.texts.end()) return std::nullopt;
    const std::vector<StreamOutline>& outlines = text->second.streams;
    auto bytes = RecordBytes::of(*fSplicing, old.bytes, outlines);
    if (bytes) return bytes;
    Finding ignored;
    const auto record = fSources.kind.parse(old.range, std::string(old.bytes), nullptr, ignored);
    std::string usual;
    if (!record || !fSources.kind.format(*record, usual)) return std::nullopt;
    fKept.push_back(std::move(usual));
    return RecordBytes::of(*fSplicing, fKept.back(), outlines);
}

// Needs no look at what was kept: that has been read from the very same text.
bool NodeMaker::verify(const std::string& name, const KeptRecord& made, const KeptTexts& kept,
                       Findings& findings) const {
    ReadContext context;
    if (fSources.readPolicy.unknownIndexTypesAsText) {
        context.unknownIndexTypes = IndexTypes::Unknown::kAsText;
    }
    Findings problems;
    try {
        const auto readBack = readAssociations(made.record, context, problems);
        if (readBack) {
            auto difference = differenceOf({&name, fSources.model.entry(name)}, kept, *readBack);
            if (!difference) return true;
            difference->code = Code::kWriteFailed;
            findings.take(std::move(*difference));
        } else {
            addFailure(name, ModelPlace::of(name) + " would not read back", findings);
        }
    } catch (const Index::eCreationErrors&) {
        addFailure(name, "An index type of the new metadata is not registered.", findings);
        return false;
    }
    findings.add(std::move(problems));
    return false;
}

bool NodeMaker::splice(const KeptRecord& made, const RecordBytes& old, Made& result) const {
    std::vector<Splice> splices;
    for (const WriteContext::Place& each : made.places) {
        splices.push_back({each.at, old.bytes(each.kept)});
    }
    PieceList pieces;
    if (!fSplicing->format(made.record, splices, pieces)) return false;
    result.pieces = pieces.take();
    return isRight(made.record, result.pieces);
}

bool NodeMaker::isRight(const SceneRecord& record,
                        const std::vector<SceneChange::Piece>& pieces) const {
    const auto readBack = fSplicing->parse(pieces);
    return readBack && readBack->kind == record.kind && readBack->name == record.name &&
           readBack->format == record.format && readBack->text == record.text;
}

}  // namespace orbo::Data
