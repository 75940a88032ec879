// What a kind of scene file is.
// SPDX-License-Identifier: Apache-2.0
#include <data/SceneKind.h>

#include <utility>

namespace orbo::Data {

SceneLayout::~SceneLayout() = default;

SceneVisitor::~SceneVisitor() = default;

SceneKind::SceneKind(SceneTraits traits) : fTraits(std::move(traits)) {}

SceneKind::~SceneKind() = default;

std::optional<std::string> SceneKind::nodeOf(const SceneRecordRange&, SceneInput&) const {
    return std::nullopt;
}

bool SceneKind::isRecognised(SceneInput& input, SceneVisitor& visitor) const {
    Finding problem;
    if (recognise(input, problem)) return true;
    if (problem.code == Finding::Code::kOther) problem.code = Finding::Code::kNotAScene;
    return visitor.fail(problem.code, problem.message, FilePlace{problem.offset, problem.tag});
}

}  // namespace orbo::Data
