// The peers that keep tables instead of text, each in a source that is built where its library is.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Bench.h"

namespace orbo::Benchmarks {

/// They refer to the elements.
Peer hdf5(const Elements& elements);
Peer sqlite(const Elements& elements);

}  // namespace orbo::Benchmarks
