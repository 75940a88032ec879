// Adds up the memory that an object graph occupies.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <ostream>
#include <string>

namespace orbo::Debug {

Footprint::~Footprint() = default;

void Footprint::clear() {
    fTotalSize = 0;
    fTotalFragments = 0;
}

void Footprint::addMember(const void* /*address*/, unsigned long long bytes) {
    fTotalSize += bytes;
    fTotalFragments += 1;
}

void Footprint::addObject(const void* address, unsigned long long bytes) {
    if (!fMembersOnly) addMember(address, bytes);
}

bool Footprint::Debug(const Footprint* object, Footprint& footprint) {
    if (object) footprint.addObject(object, sizeof(Footprint));
    return true;
}

bool Footprint::Debug(const Footprint* object, Print& print) {
    if (object) {
        print << "Footprint : " << std::to_string(object->totalSize()) << " byte(s), "
              << std::to_string(object->totalFragments()) << " memory fragment(s).\n";
    }
    return true;
}

}  // namespace orbo::Debug
