// The name that was perhaps meant.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace orbo::Quilmeta {

/// Looks for the name that is most like another one: by the fewest letters that were left out, put
/// in, replaced or exchanged with their neighbour, up to a third of the letters. Small and capital
/// letters hardly differ. Of names that are equally close the least one wins, whatever their order.
/// The work for a name is bounded, whatever its length.
class ClosestName {
  public:
    /// Keeps a view of `wanted`.
    explicit ClosestName(std::string_view wanted);

    void offer(std::string_view name);
    /// Empty when no name is close.
    [[nodiscard]] const std::string& found() const { return fFound; }
    /// `, did you mean "roughness"?`, to end a message with; empty when no name is close.
    [[nodiscard]] std::string question() const;

  private:
    std::string_view fWanted;
    size_t fLimit;  // the distance that a name must be closer than
    std::string fFound;
};

/// `ClosestName::question` about a range of names.
template <typename Names>
std::string didYouMean(std::string_view wanted, const Names& names) {
    ClosestName closest(wanted);
    for (const auto& name : names) closest.offer(name);
    return closest.question();
}

}  // namespace orbo::Quilmeta
