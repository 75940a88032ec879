// The names that were perhaps meant where a selection finds nothing.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "selection/SceneView.h"
#include "selection/Selection.h"
#include "values/ClosestName.h"

#include <data/Accessor.h>
#include <data/Structure.h>

#include <list>
#include <mutex>
#include <string>

namespace orbo::Quilmeta {

/// The names that a user gave.
struct GivenNames {
    Selection selection{};
    NamePatterns structures{}, members{};
};

/// Compares the exact ones of given names with those that scenes have. Scenes are offered on any
/// thread.
class NameHints {
  public:
    explicit NameHints(const GivenNames& given);

    void offer(const Data::Accessor& scene);
    /// `, did you mean "arm"?` for the first name that no scene has and that one is close to; empty
    /// when there is none.
    [[nodiscard]] std::string question();

  private:
    struct Wanted {
        explicit Wanted(std::string text) : name(std::move(text)), closest(name) {}
        std::string name;
        ClosestName closest;  // views the name
    };
    using Names = std::list<Wanted>;

    static Names namesIn(const NamePatterns& patterns);
    static void offer(Names& names, const std::string& name);
    void offerParts(const NodeView& node);
    void offerStructure(const Data::Structure& structure);

    std::mutex fMutex;
    Names fNodes, fChannels, fStreams, fStructures, fMembers;
    bool fAny;
};

}  // namespace orbo::Quilmeta
