// Text scenes: a script of statements, with the metadata in front of its last line.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/SceneKind.h>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Data {

class TextKind final : public SceneKind {
  public:
    TextKind();

    [[nodiscard]] bool recognise(SceneInput& input, Finding& problem) const override;
    [[nodiscard]] ScanEnd scan(SceneInput& input, SceneVisitor& visitor,
                               std::unique_ptr<SceneLayout>& layout) const override;
    [[nodiscard]] std::optional<SceneRecord> parse(const SceneRecordRange& range, std::string bytes,
                                                   const std::set<std::string>* nodes,
                                                   Finding& problem) const override;
    [[nodiscard]] bool format(const SceneRecord& record, std::string& bytes) const override;
    [[nodiscard]] std::vector<SceneChange> changes(const SceneLayout& layout, std::string_view tail,
                                                   const ScenePlan& plan,
                                                   Finding& problem) const override;
};

}  // namespace orbo::Data
