// Finds the records of a scene for a write, and the fingerprint of them.
// SPDX-License-Identifier: Apache-2.0
#include "scenes/LayoutScan.h"

#include <algorithm>
#include <deque>
#include <string>
#include <utility>

#include "scenes/FindingsVisitor.h"
#include "scenes/Fingerprint.h"

namespace orbo::Data {

namespace {

class LayoutVisitor final : public FindingsVisitor {
  public:
    LayoutVisitor(const WritePolicy& policy, bool lastFirst, std::optional<std::size_t> most,
                  Findings& findings)
        : FindingsVisitor(Purpose::kWrite, policy, findings), fLastFirst(lastFirst), fMost(most) {}

    std::deque<SceneLayout::Item>& records() { return fRecords; }

    [[nodiscard]] bool wantsMore() const override { return !fMost || fRecords.size() < *fMost; }
    [[nodiscard]] bool wants(SceneRecord::Kind) const override { return true; }
    [[nodiscard]] bool found(const SceneRecordRange& range) override {
        if (fLastFirst) {
            fRecords.push_front({range});
        } else {
            fRecords.push_back({range});
        }
        return true;
    }
    void forget() override { fRecords.clear(); }

  private:
    const bool fLastFirst;
    const std::optional<std::size_t> fMost;
    std::deque<SceneLayout::Item> fRecords;
};

bool addTo(Fingerprint& fingerprint, const SceneRecordRange& range, SceneInput& input) {
    constexpr std::uint64_t kPiece = 64 * 1024;
    ContentHash record;
    for (std::uint64_t at = range.begin; at < range.end;) {
        const auto piece = input.bytes(at, std::min(range.end - at, kPiece));
        if (!piece) return false;
        record.addBytes(piece->data(), piece->size());
        at += piece->size();
    }
    fingerprint.add(record, range.end - range.begin);
    return true;
}

}  // namespace

std::unique_ptr<SceneLayout> scanLayout(const SceneKind& kind, SceneInput& input,
                                        const WritePolicy& policy, Findings& findings,
                                        std::optional<std::size_t> mostRecords) {
    LayoutVisitor visitor(policy, kind.traits().lastFirst, mostRecords, findings);
    auto layout = std::make_unique<SceneLayout>();
    if (kind.scan(input, visitor, layout) == SceneKind::ScanEnd::kFailed || !layout) return nullptr;
    layout->records = std::move(visitor.records());
    return layout;
}

std::optional<std::uint64_t> fingerprintOf(const SceneLayout& layout, std::string_view tail,
                                           SceneInput& input, std::optional<std::size_t> count) {
    Fingerprint fingerprint;
    const std::size_t size = layout.records.size();
    for (std::size_t i = size - std::min(count.value_or(size), size); i < size; ++i) {
        const SceneRecordRange& range = layout.records[i].range;
        if (!tail.empty()) {
            fingerprint.add(tail.substr(static_cast<std::size_t>(range.begin - layout.begin),
                                        static_cast<std::size_t>(range.end - range.begin)));
        } else if (!addTo(fingerprint, range, input)) {
            return std::nullopt;
        }
    }
    return fingerprint.value();
}

}  // namespace orbo::Data
