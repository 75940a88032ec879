// A place in a JSON document.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orbo::Quilmeta {

/// The keys and positions that lead from the whole document to one value. A step costs no memory
/// once there was one as deep.
class JsonPath {
  public:
    void enter(std::string_view key) {
        Step& step = next();
        step.key.assign(key);
        step.isItem = false;
    }
    void enter(size_t item) {
        Step& step = next();
        step.item = item;
        step.isItem = true;
    }
    void leave() { --fDepth; }

    /// The number of steps; 0 for the whole document.
    [[nodiscard]] size_t depth() const { return fDepth; }
    /// The key of a step, counted from 0; empty for an item of a list.
    [[nodiscard]] std::string_view key(size_t step) const {
        return fSteps[step].isItem ? std::string_view() : fSteps[step].key;
    }

    /// "$.structures[0].members", and ["odd key"] for a key that is no plain word.
    [[nodiscard]] std::string text() const;

  private:
    struct Step {
        std::string key;
        size_t item = 0;
        bool isItem = false;
    };

    Step& next() {
        if (fDepth == fSteps.size()) fSteps.emplace_back();
        return fSteps[fDepth++];
    }

    std::vector<Step> fSteps;
    size_t fDepth = 0;
};

/// Enters a step and leaves it again.
class JsonStep {
  public:
    template <typename Where>
    JsonStep(JsonPath& path, Where where) : fPath(path) {
        fPath.enter(where);
    }
    JsonStep(const JsonStep&) = delete;
    JsonStep& operator=(const JsonStep&) = delete;
    ~JsonStep() { fPath.leave(); }

  private:
    JsonPath& fPath;
};

}  // namespace orbo::Quilmeta
