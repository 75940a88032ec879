// Attach that owns its associations.
// SPDX-License-Identifier: Apache-2.0
#include <data/AttachDirectly.h>

#include <data/Associations.h>

namespace orbo::Data {

AttachDirectly::AttachDirectly() = default;

AttachDirectly::AttachDirectly(const AttachDirectly& other)
    : Attach(other), fMetadata(std::make_shared<Associations>(other.metadata())) {}

AttachDirectly& AttachDirectly::operator=(const AttachDirectly& other) = default;

AttachDirectly::~AttachDirectly() = default;

Associations* AttachDirectly::editableMetadata() { return fMetadata.get(); }

const Associations* AttachDirectly::metadata() const { return fMetadata.get(); }

bool AttachDirectly::setMetadata(const Associations& associations) {
    if (&associations == fMetadata.get()) return true;
    fMetadata = std::make_shared<Associations>(associations);
    return true;
}

bool AttachDirectly::deleteMetadata() {
    fMetadata.reset();
    return true;
}

}  // namespace orbo::Data
