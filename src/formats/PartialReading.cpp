// Asks readers of the raw formats for what can be read of a text that is not right.
// SPDX-License-Identifier: Apache-2.0
#include "formats/PartialReading.h"

#include <utility>

namespace orbo::Data {

namespace {

thread_local bool isWanted = false;

}  // namespace

PartialReading::PartialReading() : fOuter(std::exchange(isWanted, true)) {}

PartialReading::~PartialReading() { isWanted = fOuter; }

bool PartialReading::wanted() { return isWanted; }

}  // namespace orbo::Data
