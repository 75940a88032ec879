// The module quilmeta._native: everything that the package has in C++.
// SPDX-License-Identifier: Apache-2.0
#include <nanobind/nanobind.h>
#include <data/Accessor.h>
#include "expressions/Expression.h"
NB_MODULE(_native, module) {
    module.def("extensions", [] { return orbo::Data::Accessor::supportedExtensions().size(); });
    module.def("expr", [](const char*s) { try { orbo::Quilmeta::Expression e(s); return true;} catch (const std::exception&) {return false;} });
}
