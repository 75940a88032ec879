// Reads a scene, prints a value, changes it and writes the scene back.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <iostream>

using namespace orbo::Data;

int main(int argc, char** argv) {
    std::string errors;
    const auto scene = Accessor::readFile(argc > 1 ? argv[1] : "teapot.kx", errors);
    if (!scene) return std::cerr << errors << '\n', 1;
    scene->setWritePolicy(WritePolicy::careful());

    Channel joints = scene->associations()["rig"].channel("joints");
    Stream* pose = joints.dataStream("bind pose");
    if (!pose || !pose->hasElement(IndexString("lid"))) return std::cerr << "no lid\n", 1;

    Handle lid = pose->element(IndexString("lid"));
    lid.setPositionByMemberName("side");
    std::cout << "The lid is on side " << lid.str(0) << ".\n";
    *lid.asInt8() = -1;

    if (!scene->write(errors)) return std::cerr << errors << '\n', 1;
}
