// Adds metadata to a scene that has none: a tag for two edges of a node.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <iostream>

using namespace orbo;
using namespace orbo::Data;

int main(int argc, char** argv) {
    std::string errors;
    const auto scene = Accessor::readFile(argc > 1 ? argv[1] : "bare.kx", errors);
    if (!scene) return std::cerr << errors << '\n', 1;
    scene->setWritePolicy(WritePolicy::careful());

    // A structure lives as long as somebody holds a reference on it.
    const RefPtr<Structure> structure(Structure::create());
    structure->setName("Crease");
    structure->addMember(Member::kFloat, 1, "sharpness");
    structure->addMember(Member::kBoolean, 1, "hard");

    // Elements of the structure, each under the numbers of two vertices.
    Stream creases(*structure, "crease");
    creases.setIndexType(IndexPair::theTypeName());
    for (const IndexPair& edge : {IndexPair(0, 1), IndexPair(6, 13)}) {
        Handle crease(*structure);
        crease.setPositionByMemberName("sharpness");
        *crease.asFloat() = 0.324F;
        crease.setPositionByMemberName("hard");
        *crease.asBoolean() = true;
        creases.setElement(edge, crease);
    }
    scene->associations()["teapotShape"].channel("edge").setDataStream(creases);

    // The file needs the structures that its streams have.
    Accessor::StructureSet structures = scene->structures();
    structures.insert(structure.get());
    scene->setStructures(structures);

    if (!scene->write(errors)) return std::cerr << errors << '\n', 1;
}
