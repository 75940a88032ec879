// Elements as light views of a row, and values in them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/ConstHandle.h>
#include <data/Index.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Model.h"
#include "Values.h"

namespace orbo::Python {

/// What a Python object of the class Element holds.
struct ElementValue {
    std::shared_ptr<StreamState> stream;
    Data::Index index;
};

/// Gives a member's values in the element; throws `StaleError` when the element is gone.
const char* valuesIn(const StreamState& stream, const Data::Index& index,
                     const Data::Member& member);
/// Sets one member of an element. Runs Python code of the value before it looks for the element.
void setMember(const StreamState& stream, const Data::Index& index, const std::string& name,
               nb::handle value);
/// Throws `TypeError` when the stream has indices of another type.
void demandType(const StreamState& state, const Data::Index& index);
/// Makes an element, or replaces it, by a mapping of member names, another element, or a dataclass.
/// Members that are not named get default values.
void setElement(StreamState& stream, const Data::Index& index, nb::handle values);
/// The values that are to be stored, each with its member.
using NewValues = std::vector<std::pair<const Data::Member*, NewValue>>;
/// Takes a mapping of member names, or a dataclass. Runs Python code.
NewValues newValuesOf(const Data::Structure& structure, nb::handle given);
nb::dict dictOf(const StreamState& stream, const Data::Index& index);

}  // namespace orbo::Python
