// Reading a scene as a C++ program does, to be called from the process that measures the Python
// package. SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/ReadPolicy.h>

#include <memory>
#include <string>

using orbo::Data::Accessor;

/// Gives a scene that `destroyScene` takes, or null when it cannot be read.
extern "C" Accessor* readScene(const char* file, unsigned threads) {
    std::unique_ptr<Accessor> scene = Accessor::accessorByExtension(file);
    if (!scene) return nullptr;
    orbo::Data::ReadPolicy policy;
    policy.threads = threads;
    policy.preparesEdits = false;  // as the package opens for reading
    scene->setReadPolicy(policy);
    std::string errors;
    return scene->read(file, errors) ? scene.release() : nullptr;
}

extern "C" void destroyScene(Accessor* scene) { delete scene; }
