// Elements as light views of a row, and values in them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/ConstHandle.h>
#include <data/Index.h>

#include <memory>
#include <string>

#include "Model.h"

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
nb::dict dictOf(const StreamState& stream, const Data::Index& index);

}  // namespace orbo::Python
