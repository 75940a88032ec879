// Loads and unloads the library, then a module that uses it, twice each: nothing may stay mapped.
// What is lost meanwhile is found by the memory checker that this program runs under.
// SPDX-License-Identifier: Apache-2.0
#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <string>

namespace {

bool isMapped(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);)
        if (line.find(name) != std::string::npos) return true;
    return false;
}

bool fail(const char* what, const std::string& path) {
    std::fprintf(stderr, "%s: %s\n", path.c_str(), what);
    return false;
}

/// Loads the library, gives it to `use`, unloads it and looks for what is left of it.
template <typename Use>
bool loadOnce(const std::string& path, Use use) {
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!library) return fail(dlerror(), path);
    const bool mapped = isMapped("libMetaData");
    const bool used = use(library);
    dlclose(library);
    if (!mapped) return fail("the mapping cannot be seen", path);
    if (!used) return fail("cannot be used", path);
    if (dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD)) return fail("is still loaded", path);
    if (isMapped("libMetaData")) return fail("the library is still mapped", path);
    return true;
}

/// A library that was really unloaded counts from the start again.
bool callLibrary(void* library) {
    static unsigned long long first = 0;
    using Tick = unsigned long long (*)();
    const auto tick =
        reinterpret_cast<Tick>(dlsym(library, "_ZN4orbo12Checkpointed12globalChangeEv"));
    if (!tick) return false;
    const unsigned long long now = tick();
    if (first == 0) first = now;
    return now == first && tick() == first + 1;
}

bool callModule(void* module, const char* scene) {
    using Exercise = unsigned int (*)(const char*);
    const auto exercise = reinterpret_cast<Exercise>(dlsym(module, "exercise"));
    return exercise && exercise(scene) > 0;
}

}  // namespace

/// Arguments: the library, the module, a scene.
int main(int argc, char** argv) {
    if (argc != 4) return 2;
    for (int i = 0; i < 2; ++i) {
        if (!loadOnce(argv[1], callLibrary)) return 1;
        if (!loadOnce(argv[2], [&](void* module) { return callModule(module, argv[3]); })) return 1;
    }
    return 0;
}
