// How a command prints its results: for people, or as JSON.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Quilmeta {

enum class ResultFormat {
    kText,
    kJson,       ///< one document: a list of all results
    kJsonLines,  ///< one result on each line
};

}  // namespace orbo::Quilmeta
