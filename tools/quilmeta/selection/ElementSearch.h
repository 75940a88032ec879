// The elements of a scene that a condition selects.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/StreamFilter.h"
#include "selection/SceneView.h"

#include <data/Accessor.h>

#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace orbo::Quilmeta {

/// A condition that is used on many scenes, several at once.
class ElementSearch {
  public:
    /// Every element is found without a condition. Throws `ExpressionError`.
    explicit ElementSearch(const std::optional<std::string>& condition)
        : fExpression(condition.value_or("true")) {}

    /// Calls `use(node, channel, stream, index, element)` for each element that is found in the
    /// view, in the library's order. Throws `ExpressionError` as `StreamFilter` does.
    template <typename Use>
    void forEach(const std::string& file, const Data::Accessor& scene, SceneView& view, Use&& use);
    /// Prints a warning for each member that none of the scenes so far has. False if there are any.
    bool warn();

  private:
    void note(const Data::Accessor& scene, const SceneView& view);

    Expression fExpression;
    MembersSeen fSeen;
    std::atomic<bool> fSawScene = false;
    std::mutex fLock;  // of fSeen
};

template <typename Use>
void ElementSearch::forEach(const std::string& file, const Data::Accessor& scene, SceneView& view,
                            Use&& use) {
    note(scene, view);
    std::map<const Data::Structure*, StreamFilter> filters;
    Place place = Place().set(Field::kFile, file);
    for (NodeView& node : view.nodes) {
        place.set(Field::kNode, node.name);
        for (ChannelView& channel : node.channels) {
            const std::string name = channel.channel.name();
            place.set(Field::kChannel, name);
            for (Data::Stream& stream : channel.streams) {
                const Data::Structure& structure = stream.structure();
                place.set(Field::kStream, stream.name());
                const StreamFilter& filter =
                    filters.try_emplace(&structure, fExpression, structure).first->second;
                filter.forEach(stream, place, [&](const auto& index, const auto& element) {
                    use(node, channel, stream, index, element);
                });
            }
        }
    }
}

}  // namespace orbo::Quilmeta
