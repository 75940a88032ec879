// Attach that owns its associations.
// SPDX-License-Identifier: Apache-2.0
#include <data/Associations.h>
#include <data/AttachDirectly.h>
#include <debug/RefCounted.h>

namespace orbo::Data {

struct AttachDirectly::Shared : RefCounted {
    explicit Shared(const Associations* original) : associations(original) {}

    Associations associations;
};

AttachDirectly::AttachDirectly() = default;

AttachDirectly::AttachDirectly(const AttachDirectly& other)
    : Attach(other), fMetadata(new Shared(other.metadata())) {}

AttachDirectly& AttachDirectly::operator=(const AttachDirectly& other) = default;

AttachDirectly::~AttachDirectly() = default;

Associations* AttachDirectly::editableMetadata() {
    return fMetadata ? &fMetadata->associations : nullptr;
}

const Associations* AttachDirectly::metadata() const {
    return fMetadata ? &fMetadata->associations : nullptr;
}

bool AttachDirectly::setMetadata(const Associations& associations) {
    if (&associations == metadata()) return true;
    fMetadata = RefPtr<Shared>(new Shared(&associations));
    return true;
}

bool AttachDirectly::deleteMetadata() {
    fMetadata = RefPtr<Shared>();
    return true;
}

}  // namespace orbo::Data
