// The module quilmeta._native: everything that the package has in C++.
// SPDX-License-Identifier: Apache-2.0
#include "Bindings.h"

NB_MODULE(_native, module) {
    module.doc() = "What the package quilmeta has in C++; import quilmeta instead.";
#ifdef NDEBUG
    // Users are not told of objects that others keep until the program ends, as databases do.
    nanobind::set_leak_warnings(false);
#endif
    module.def("_version", [] { return QUILMETA_VERSION; });
    orbo::Python::defineStructures(module);
    orbo::Python::defineElements(module);
    orbo::Python::defineColumns(module);
    orbo::Python::defineStreams(module);
    orbo::Python::defineContainers(module);
    orbo::Python::defineScenes(module);
    orbo::Python::defineContents(module);
    orbo::Python::defineFiles(module);
    orbo::Python::defineDifferences(module);
    orbo::Python::defineMerging(module);
    orbo::Python::definePatching(module);
    orbo::Python::defineExchange(module);
    orbo::Python::defineSearching(module);
    orbo::Python::defineEditing(module);
    orbo::Python::defineCsv();
    orbo::Python::defineArrow(module);
}
