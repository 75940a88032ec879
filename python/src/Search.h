// The elements that a condition selects, in one scene after the other.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Model.h"
#include "expressions/Expression.h"
#include "selection/ElementSearch.h"
#include "selection/Selection.h"

namespace orbo::Python {

/// Where an element is; all of it belongs to the scene.
struct FoundPlace {
    const Quilmeta::NodeView& node;
    const Quilmeta::ChannelView& channel;
    const Data::Stream& stream;
    const Data::ElementIndex& index;
};

/// A condition that may be None, and the parts of scenes to look in.
class Search {
  public:
    /// Throws `ExpressionError`.
    Search(nb::handle where, Quilmeta::Selection selection);

    /// Whether every element is found.
    [[nodiscard]] bool isEverything() const { return !fWhere && fSelection.everything(); }
    /// Calls `use(place, element)` for each element in the library's order. `use` must run no
    /// Python code. Throws `ExpressionError` for what makes no sense for a structure.
    void forEach(const SceneState& scene,
                 const std::function<void(const FoundPlace&, Data::Handle)>& use);
    /// Warns of members that none of the scenes had. To be called at the end.
    void warn() const;

  private:
    std::optional<std::string> fWhere;
    Quilmeta::Selection fSelection;
    std::optional<Quilmeta::Expression> fExpression;
    std::optional<Quilmeta::ElementSearch> fSearch;
    Quilmeta::MembersSeen fSeen;
    bool fSawScene = false;
};

/// Takes one path, or several. Throws a `TypeError` for anything else.
std::vector<nb::object> pathsOf(nb::handle given);

}  // namespace orbo::Python
