// Reads a scene of any kind into a model.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/reading/SceneReader.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "scenes/CheckedKind.h"
#include "scenes/FindingsVisitor.h"
#include "scenes/Fingerprint.h"

namespace orbo::Data {

namespace {

const WritePolicy& policyOfReads() {
    static const WritePolicy usual;
    return usual;
}

/// Gives the records that a scan finds to a builder.
class ReadingVisitor final : public FindingsVisitor {
  public:
    ReadingVisitor(const SceneKind& kind, SceneInput& input, const ModelBuilder::Request& request,
                   ModelBuilder& builder, bool takesFingerprint, Findings& findings)
        : FindingsVisitor(request.isCheck ? Purpose::kCheck : Purpose::kRead, policyOfReads(),
                          findings),
          fKind(kind),
          fInput(input),
          fNodes(request.associationNames),
          fLeavesNodes(request.leavesNodes),
          fBuilder(builder),
          fFingerprint(takesFingerprint ? std::make_optional<Fingerprint>() : std::nullopt) {}

    /// How many of the last records in the file were met, if they are those that another scan meets
    /// first.
    [[nodiscard]] std::optional<std::size_t> met() const {
        if (!fKind.traits().lastFirst || fHasSkipped) return std::nullopt;
        return fMet;
    }

    /// Covers the records that were met. Empty when the bytes of some were not read.
    [[nodiscard]] std::optional<std::uint64_t> fingerprint() {
        if (!fFingerprint || fHasSkipped) return std::nullopt;
        if (fKind.traits().lastFirst) fFingerprint->reverse();
        return fFingerprint->value();
    }

    [[nodiscard]] bool wantsMore() const override { return fBuilder.wantsMore(); }
    [[nodiscard]] bool wants(SceneRecord::Kind kind) const override {
        const bool isWanted = kind == SceneRecord::Kind::kStructure ? fBuilder.wantsMore()
                                                                    : fBuilder.wantsAssociations();
        fHasSkipped = fHasSkipped || !isWanted;
        return isWanted;
    }
    void forget() override {
        fMet = 0;
        fRecords.clear();
        fLeft.clear();
        if (fFingerprint) fFingerprint->clear();
        fBuilder.discard();
    }

    [[nodiscard]] bool found(const SceneRecordRange& range) override {
        ++fMet;
        if (isPassedOver(range)) return true;
        std::string bytes;
        // A record without an end mark is not read: its bytes may belong to something else.
        if (range.closed && !read(range, bytes)) return false;
        takeFingerprint(range, bytes);
        Finding problem;
        const std::set<std::string> noTexts;
        auto record =
            fKind.parse(range, std::move(bytes), fLeavesNodes ? &noTexts : fNodes, problem);
        noteRecord(record);
        if (!record) return rejected(range, std::move(problem));
        record->place = placeOf(range);
        if (!fBuilder.wants(*record)) return true;
        if (fLeavesNodes && record->kind == SceneRecord::Kind::kAssociations) {
            fLeft[record->name].push_back(range);
        } else {
            fBuilder.add(std::move(*record));
        }
        return true;
    }

    /// Gives them in the order of the file.
    [[nodiscard]] std::vector<ReadSnapshot::Record> records() {
        if (fKind.traits().lastFirst) std::reverse(fRecords.begin(), fRecords.end());
        return std::move(fRecords);
    }
    /// Gives the nodes that were left in the file, with the places of their records.
    [[nodiscard]] std::map<std::string, std::vector<SceneRecordRange>> left() {
        return std::move(fLeft);
    }

  private:
    /// Does what there is to do with a node whose text is not asked for, if a part of the record
    /// tells. A fingerprint takes all records.
    bool isPassedOver(const SceneRecordRange& range) {
        const bool mayBe = (fNodes || fLeavesNodes) && !fFingerprint && range.closed &&
                           range.kind == SceneRecord::Kind::kAssociations;
        const auto node = mayBe ? fKind.nodeOf(range, fInput) : std::nullopt;
        if (!node) return false;
        const bool isOther = fNodes && fNodes->count(*node) == 0;
        if (fLeavesNodes && !isOther) fLeft[*node].push_back(range);
        return isOther || fLeavesNodes;
    }
    void noteRecord(const std::optional<SceneRecord>& record) {
        if (!fFingerprint) return;
        ReadSnapshot::Record& noted = fRecords.emplace_back();
        if (!record) return;
        noted.understood = true;
        noted.plain = record->plain;
        if (record->kind == SceneRecord::Kind::kAssociations) noted.node = record->name;
    }
    void takeFingerprint(const SceneRecordRange& range, const std::string& bytes) {
        if (!range.closed) fFingerprint.reset();
        if (fFingerprint) fFingerprint->add(bytes);
    }
    static FilePlace placeOf(const SceneRecordRange& range) { return {range.begin, range.tag}; }

    bool read(const SceneRecordRange& range, std::string& bytes) {
        const SceneTraits& traits = fKind.traits();
        bytes.resize(static_cast<std::size_t>(range.end - range.begin));
        const bool isThere = fInput.seek(range.begin);
        const auto got = isThere ? fInput.read(bytes.data(), bytes.size()) : std::nullopt;
        if (got && *got == bytes.size()) return true;
        if (traits.strict) return rejected(range, refusalOf(fKind, range));
        return fail(Finding::Code::kFileUnreadable,
                    isThere ? traits.cannotReadRecord : traits.cannotSeekRecord,
                    FilePlace{range.begin, {}});
    }

    /// False when the record ends the read.
    bool rejected(const SceneRecordRange& range, Finding problem) {
        problem.offset = range.begin;
        problem.tag = range.tag;
        if (fKind.traits().strict) return fail(std::move(problem));
        fBuilder.add(std::move(problem));
        return true;
    }

    const SceneKind& fKind;
    SceneInput& fInput;
    const std::set<std::string>* fNodes;
    const bool fLeavesNodes;
    ModelBuilder& fBuilder;
    std::optional<Fingerprint> fFingerprint;
    std::vector<ReadSnapshot::Record> fRecords;
    std::map<std::string, std::vector<SceneRecordRange>> fLeft;
    std::size_t fMet = 0;
    mutable bool fHasSkipped = false;
};

}  // namespace

std::optional<ReadSnapshot> readScene(const SceneKind& kind, SceneInput& input,
                                      ModelBuilder::Request request, Accessor::AssociationsMap& map,
                                      Findings& findings, bool takesFingerprint) {
    request.lastFirst = kind.traits().lastFirst;
    request.keepsOutlines = takesFingerprint;
    ModelBuilder builder(request);
    ReadingVisitor visitor(kind, input, request, builder, takesFingerprint, findings);
    auto layout = std::make_unique<SceneLayout>();
    const SceneKind::ScanEnd end = kind.scan(input, visitor, layout);
    if (end == SceneKind::ScanEnd::kFailed) return std::nullopt;
    ReadSnapshot snapshot = builder.build(map, findings);
    snapshot.unloaded.places = visitor.left();
    snapshot.unloaded.areNamed = request.associationNames != nullptr;
    if (end == SceneKind::ScanEnd::kStopped) snapshot.recordsMet = visitor.met();
    if (end == SceneKind::ScanEnd::kComplete || snapshot.recordsMet)
        snapshot.fingerprint = visitor.fingerprint();
    if (end == SceneKind::ScanEnd::kComplete && snapshot.fingerprint) {
        snapshot.records = visitor.records();
        snapshot.begin = layout->begin;
    }
    return snapshot;
}

std::optional<ReadSnapshot> readLeftNode(const SceneKind& kind, SceneInput& input,
                                         const std::vector<SceneRecordRange>& places,
                                         ModelBuilder::Request request,
                                         Accessor::AssociationsMap& map, Findings& findings) {
    request.lastFirst = kind.traits().lastFirst;
    ModelBuilder builder(request);
    ReadingVisitor visitor(kind, input, request, builder, false, findings);
    for (const SceneRecordRange& place : places) {
        if (!visitor.found(place)) return std::nullopt;
    }
    return builder.build(map, findings);
}

}  // namespace orbo::Data
