// Change stamps, which tell whether an object, its class or anything at all has changed.
// SPDX-License-Identifier: Apache-2.0
#include <debug/Checkpointed.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include <atomic>
#include <ostream>
#include <string>

#include "debug/StartUp.h"

namespace orbo {

namespace {

std::atomic<unsigned long long> sfGlobalCheckpoint{0};
std::atomic<unsigned long long> sfCheckpoint{0};

// Two threads may arrive in a different order than they drew their numbers.
void raiseClassCheckpoint(unsigned long long value) {
    unsigned long long seen = sfCheckpoint.load();
    while (seen < value && !sfCheckpoint.compare_exchange_weak(seen, value)) {
    }
}

}  // namespace

void setClassCheckpointAtLoad() { raiseClassCheckpoint(Checkpointed::globalCheckpoint()); }

unsigned long long Checkpointed::globalChange() { return ++sfGlobalCheckpoint; }
unsigned long long Checkpointed::globalCheckpoint() { return sfGlobalCheckpoint; }

unsigned long long Checkpointed::sClassChanged() {
    const unsigned long long now = globalChange();
    raiseClassCheckpoint(now);
    return now;
}

unsigned long long Checkpointed::sClassCheckpoint() { return sfCheckpoint; }

bool Checkpointed::sClassChangedSinceCheckpoint(const unsigned long long& checkpoint) {
    return sfCheckpoint > checkpoint;
}

unsigned long long Checkpointed::classCheckpoint() { return sClassCheckpoint(); }
unsigned long long Checkpointed::classChanged() { return sClassChanged(); }

bool Checkpointed::classChangedSinceCheckpoint(const unsigned long long& checkpoint) {
    return sClassChangedSinceCheckpoint(checkpoint);
}

unsigned long long Checkpointed::objectChanged() { return fCheckpoint = classChanged(); }

Checkpointed::Checkpointed() : fCheckpoint(sClassChanged()) {}

Checkpointed::Checkpointed(const Checkpointed&) {
    sClassChanged();
    fCheckpoint = sClassChanged();
}

Checkpointed& Checkpointed::operator=(const Checkpointed&) {
    objectChanged();
    return *this;
}

Checkpointed::~Checkpointed() { sClassChanged(); }

bool Checkpointed::Debug(const Checkpointed* object, Debug::Footprint& footprint) {
    if (object) {
        footprint.addObject(object, sizeof(Checkpointed));
    } else {
        footprint.addMember(&sfGlobalCheckpoint, sizeof(unsigned long long));
        footprint.addMember(&sfCheckpoint, sizeof(unsigned long long));
    }
    return true;
}

bool Checkpointed::Debug(const Checkpointed* object, Debug::Print& print) {
    if (object) {
        print << "Checkpoint : " << std::to_string(object->checkpoint()) << '\n';
    } else {
        print << "Class Checkpoint  : " << std::to_string(sClassCheckpoint()) << '\n';
        print << "Global Checkpoint : " << std::to_string(globalCheckpoint()) << '\n';
    }
    return true;
}

}  // namespace orbo
