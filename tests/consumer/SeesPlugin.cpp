// What a plug-in registers is seen by the program that loads it, and is gone behind it.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>
#include <dlfcn.h>

#include <cstdio>

namespace {

using namespace orbo::Data;

bool hasTriples() {
    try {
        Index::creator("triple");
        return true;
    } catch (Index::eCreationErrors) {
        return false;
    }
}

/// One letter for each registry that has an entry of the plug-in.
void show(const char* when) {
    const bool hasFormat = StructureSerializer::formatByName("words") != nullptr;
    const bool hasScene = Accessor::accessorByExtension("note.memo") != nullptr;
    std::printf("%s:%s%s%s\n", when, hasTriples() ? " index" : "", hasFormat ? " format" : "",
                hasScene ? " scene" : "");
}

}  // namespace

int main(int, char** arguments) {
    show("before");
    void* const plugin = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (!plugin) std::puts(dlerror());
    show("loaded");
    if (plugin) dlclose(plugin);
    show("behind");
}
