// A kind of scene whose answers can be relied on.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <memory>
#include <stdexcept>

namespace orbo::Data {

class SceneSplicing;

/// `SceneKind::format` has thrown; nothing may be written.
struct SceneKindFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Stands between the library and a kind that a plug-in may have brought. What the kind throws, and
/// what cannot be right, becomes a finding, so the rest of the library need not look. Exceptions of
/// the library's own visitor and lack of memory pass through.
class CheckedKind final : public SceneKind {
  public:
    /// Throws `std::invalid_argument` for null.
    explicit CheckedKind(std::unique_ptr<const SceneKind> kind);

    [[nodiscard]] bool recognise(SceneInput& input, Finding& problem) const override;
    /// Fills in the layout's size.
    [[nodiscard]] ScanEnd scan(SceneInput& input, SceneVisitor& visitor,
                               std::unique_ptr<SceneLayout>& layout) const override;
    [[nodiscard]] std::optional<SceneRecord> parse(const SceneRecordRange& range, std::string bytes,
                                                   const std::set<std::string>* nodes,
                                                   Finding& problem) const override;
    /// Throws `SceneKindFailure` when the kind has thrown.
    [[nodiscard]] bool format(const SceneRecord& record, std::string& bytes) const override;
    [[nodiscard]] std::vector<SceneChange> changes(const SceneLayout& layout, std::string_view tail,
                                                   const ScenePlan& plan,
                                                   Finding& problem) const override;

    [[nodiscard]] std::optional<std::string> nodeOf(const SceneRecordRange& range,
                                                    SceneInput& input) const override;
    /// Null for a kind that cannot splice.
    [[nodiscard]] const SceneSplicing* splicing() const;

  private:
    const std::unique_ptr<const SceneKind> fKind;
};

/// The same for any kind; null when it is not known.
const SceneSplicing* splicingOf(const SceneKind& kind);

/// Why the bytes of a record cannot be had.
Finding refusalOf(const SceneKind& kind, const SceneRecordRange& range);

}  // namespace orbo::Data
