// Prints one value of every element of a stream, and changes it in one of them.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <iostream>

int main() {
    std::string errors;
    const auto scene = orbo::Data::Accessor::readFile("teapot.kx", errors);
    if (!scene) return std::cerr << errors << '\n', 1;
    auto joints = scene->associations()["rig"].channel("joints");
    auto* pose = joints.dataStream("bind pose");
    if (!pose) return std::cerr << "no bind pose\n", 1;
    for (auto [name, joint] : pose->elements())
        std::cout << name.asString() << ": " << int{joint.get<signed char>("side")} << '\n';
    pose->element("lid").set("side", static_cast<signed char>(-1));
    scene->setWritePolicy(orbo::Data::WritePolicy::careful());
    if (!scene->write(errors)) return std::cerr << errors << '\n', 1;
}
