// The edits of a structure, and of the registry, that say why they were not made.
// SPDX-License-Identifier: Apache-2.0
#include <data/Structure.h>

#include <string>

#include "core/StructureImpl.h"

namespace orbo::Data {

namespace {

std::string named(const Structure& structure) {
    return "structure \"" + std::string(structure.name()) + '"';
}

std::string sentenceOf(Layout::AddProblem problem, const std::string& owner, const char* name) {
    using Problem = Layout::AddProblem;
    if (problem == Problem::kNoName) return "A member of " + owner + " needs a name.";
    const std::string member = "ember \"" + std::string(name) + '"';
    switch (problem) {
        case Problem::kType:
            return 'M' + member + " of " + owner + " needs a type that stores values.";
        case Problem::kLength:
            return 'M' + member + " of " + owner + " needs a length of 1 or more.";
        case Problem::kNameTaken:
            return "There is a m" + member + " in " + owner + " already.";
        default:
            return 'M' + member + " makes the elements of " + owner + " larger than " +
                   std::to_string(Layout::kLargestSize) + " bytes.";
    }
}

}  // namespace

EditResult Structure::tryAddMember(Member::eDataType type, unsigned int length, const char* name) {
    if (addMember(type, length, name)) return {};
    return EditResult(
        sentenceOf(fImpl->layout->problemOfAdding(type, length, name), named(*this), name));
}

EditResult Structure::tryRegisterStructure(Structure& structure) {
    if (registerStructure(structure)) return {};
    if (allStructures().count(&structure) != 0)
        return EditResult("The " + named(structure) + " is registered already.");
    return EditResult("A structure that equals " + named(structure) + " is registered already.");
}

EditResult Structure::tryDeregisterStructure(Structure& structure) {
    if (deregisterStructure(structure)) return {};
    return EditResult("The " + named(structure) + " is not registered.");
}

}  // namespace orbo::Data
