// A module on top of the library that touches every room of it.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <memory>
#include <sstream>

using namespace orbo::Data;

/// Returns how many elements the scene's streams hold, and 0 when something went wrong.
extern "C" __attribute__((visibility("default"))) unsigned int exercise(const char* scene) {
    std::string errors;
    const std::unique_ptr<Accessor> accessor = Accessor::readFile(scene, errors);
    if (!accessor) return 0;

    unsigned int elements = 0;
    std::ostringstream dump;
    orbo::Debug::Print print(dump);
    for (auto& [name, associations] : accessor->associations()) {
        for (unsigned int c = 0; c < associations.channelCount(); ++c) {
            Channel channel = associations.channelAt(c);
            for (unsigned int s = 0; s < channel.dataStreamCount(); ++s) {
                Stream stream(*channel.dataStream(s));
                elements += stream.elementCount();
                stream.makeUnique();
                stream.useDenseStorage(true);
            }
        }
        Associations::Debug(&associations, print);
        if (AssociationsSerializer::defaultFormat()->write(associations, dump, errors)) return 0;
    }
    // Left in the registry on purpose: unloading has to release it.
    Structure::registerStructure(*Structure::create());
    return dump.str().empty() ? 0 : elements;
}
