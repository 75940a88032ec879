// The elements of a stream that an expression selects.
// SPDX-License-Identifier: Apache-2.0
#include "expressions/StreamFilter.h"

#include "expressions/Outlook.h"

#include <algorithm>
#include <stdexcept>

namespace orbo::Quilmeta {

StreamFilter::StreamFilter(const Expression& expression, const Data::Structure& structure)
    : fSyntax(expression.fSyntax),
      fStructure(&structure),
      fMembers(findMembers(*fSyntax, structure)),
      fFirstType(structure.empty() ? Data::Member::kInvalid : structure.begin()->type()) {}

StreamFilter::Walk::Walk(const StreamFilter& filter, const Data::Stream& stream, const Place& place)
    : fSyntax(*filter.fSyntax),
      fPlace(place),
      fUsesIndex(fSyntax.usesIndex),
      fFirstType(filter.fFirstType) {
    if (&stream.structure() != filter.fStructure.get())
        throw std::invalid_argument("the stream has another structure than the filter");
    fPlace.set(Field::kStructure, stream.structure().name());
    fPlace.set(Field::kIndexType, stream.indexType());
    fOutlook = std::make_unique<Outlook>(fSyntax, fPlace, &filter.fMembers);
    if (const auto& problem = fOutlook->problem())
        throw ExpressionError(fSyntax.text, problem->at, problem->text);
    fIsNeeded = fOutlook->canBeTrue();
    fEvaluator = std::make_unique<Evaluator>(fPlace, filter.fMembers, fOutlook->outcomes());
}

StreamFilter::Walk::~Walk() = default;

bool StreamFilter::Walk::evaluate() {
    fEvaluator->evaluateCondition(fSyntax.root, fLanes, fTruths);
    const Truth* const begin = fTruths.truths;
    const Truth* const end = begin + fTruths.filled(fLanes.count);
    return std::find(begin, end, Truth::kTrue) != end;
}

}  // namespace orbo::Quilmeta
