// Values by name and type, elements in a loop, and edits that say why they were not made.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

#include <iostream>
#include <string_view>

using namespace orbo::Data;

namespace {

bool expect(bool isRight, const char* what) {
    if (!isRight) std::cerr << "wrong: " << what << '\n';
    return isRight;
}

}  // namespace

int main() {
    const orbo::RefPtr<Structure> structure(new Structure("Joint"));
    const bool added = structure->tryAddMember(Member::kFloat, 1, "radius") &&
                       structure->tryAddMember(Member::kString, 1, "name");
    Stream joints(*structure, "joints");
    joints.setIndexType("string");
    Handle lid = joints.emplaceElement("lid");
    lid.set("radius", 1.5F);
    lid.set("name", "the lid");

    const MemberRef<float> radius(*structure, "radius");
    float sum = 0;
    for (auto [index, element] : joints.elements()) {
        radius.set(element, 2 * radius(element));
        if (index == "lid") sum += element.get<float>("radius");
    }
    const Stream& fixed = joints;
    const auto name = fixed.element("lid").tryGet<std::string_view>("name");
    const EditResult refused = structure->tryAddMember(Member::kFloat, 1, "name");

    const bool right = expect(added, "the members") && expect(sum == 3, "the sum") &&
                       expect(name == "the lid", "the name") &&
                       expect(!lid.tryGet<int>("radius"), "the type") &&
                       expect(!refused && !refused.reason().empty(), "the reason") &&
                       expect(structure->member("radius") && !structure->member("weight"), "names");
    return right ? 0 : 1;
}
