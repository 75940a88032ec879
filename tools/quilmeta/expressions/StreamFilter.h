// The elements of a stream that an expression selects.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Evaluator.h"
#include "expressions/Expression.h"
#include "expressions/Members.h"
#include "expressions/Place.h"

#include <data/ConstHandle.h>
#include <data/ElementIndex.h>
#include <data/Stream.h>
#include <debug/RefPtr.h>

#include <memory>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

class Outlook;

/// An expression with its members looked up in one structure: make one for each structure and use
/// it for all streams of it, in any number of threads. Keeps the structure alive, which must not
/// get members any more.
class StreamFilter {
  public:
    StreamFilter(const Expression& expression, const Data::Structure& structure);

    /// Calls `use(index, element)` for each element of `stream` that matches, in index order; with
    /// a stream that is not `const` the element can be changed. Sets the structure and the type of
    /// indices in `place` itself. The elements are not looked at where the place or the structure
    /// rules out a match.
    ///
    /// Throws `ExpressionError` when the structure has a member that cannot be used as the
    /// expression does, and nothing that is true of all its elements here makes that part idle:
    /// in `structure != "A" and x > 1` the `x` of A may have several values.
    template <typename AnyStream, typename Use>
    void forEach(AnyStream& stream, const Place& place, Use&& use) const;

  private:
    class Walk;

    std::shared_ptr<const Syntax> fSyntax;
    RefPtr<const Data::Structure> fStructure;
    FoundMembers fMembers;
    Data::Member::eDataType fFirstType = Data::Member::kInvalid;
};

/// One walk over a stream.
class StreamFilter::Walk {
  public:
    Walk(const StreamFilter& filter, const Data::Stream& stream, const Place& place);
    ~Walk();
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;

    /// False when no element can match.
    [[nodiscard]] bool isNeeded() const { return fIsNeeded; }
    void clear() { fLanes.count = 0; }
    /// Adds an element to the block. False when the block is full, or the element does not suit it.
    bool add(const Data::ElementIndex& index, const Data::ConstHandle& element) {
        const auto* chunk = static_cast<const char*>(element.asType(fFirstType));
        const IndexKind kind = fUsesIndex ? kindOf(index) : IndexKind::kNumber;
        if (fLanes.count == 0) {
            fLanes.hasData = chunk != nullptr;
            fLanes.indexKind = kind;
        } else if (fLanes.count == kBlockSize || kind != fLanes.indexKind ||
                   fLanes.hasData != (chunk != nullptr)) {
            return false;
        }
        fLanes.chunks[fLanes.count] = chunk;
        if (fUsesIndex) fLanes.indices[fLanes.count] = index;
        ++fLanes.count;
        return true;
    }
    /// Evaluates the expression for the block. False when no element of it matches.
    bool evaluate();
    /// After `evaluate`.
    [[nodiscard]] bool matches(size_t lane) const {
        return fTruths.truths[fTruths.slot(lane)] == Truth::kTrue;
    }
    [[nodiscard]] size_t size() const { return fLanes.count; }

  private:
    const Syntax& fSyntax;
    Place fPlace;
    std::unique_ptr<Outlook> fOutlook;
    std::unique_ptr<Evaluator> fEvaluator;
    bool fIsNeeded = false;
    bool fUsesIndex;
    Data::Member::eDataType fFirstType;
    Lanes fLanes;
    Column fTruths;
};

template <typename AnyStream, typename Use>
void StreamFilter::forEach(AnyStream& stream, const Place& place, Use&& use) const {
    Walk walk(*this, stream, place);
    if (!walk.isNeeded()) return;
    const auto elements = stream.elements();
    const auto end = elements.end();
    for (auto next = elements.begin(); next != end;) {
        auto at = next;
        for (walk.clear(); next != end && walk.add(next->index, next->element);) ++next;
        if (!walk.evaluate()) continue;
        for (size_t lane = 0; lane < walk.size(); ++lane, ++at)
            if (walk.matches(lane)) use(at->index, at->element);
    }
}

}  // namespace orbo::Quilmeta
