// What Python's mappings have beside looking names up.
// SPDX-License-Identifier: Apache-2.0
#include "Mappings.h"

namespace orbo::Python {

nb::object getOr(nb::handle self, nb::handle key, nb::handle otherwise) {
    try {
        return nb::borrow(self[key]);
    } catch (nb::python_error& error) {
        if (!error.matches(PyExc_KeyError)) throw;
        return nb::borrow(otherwise);
    }
}

nb::object viewOf(nb::handle self, const char* className) {
    nb::len(self);  // whatever is gone has none
    return nb::module_::import_("collections.abc").attr(className)(self);
}

nb::object reversedKeys(nb::handle self) {
    nb::list keys(self);
    return nb::module_::import_("builtins").attr("reversed")(keys);
}

}  // namespace orbo::Python
