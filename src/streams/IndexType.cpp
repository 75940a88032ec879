// Base of all typed index values and their registration.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexType.h>

namespace orbo::Data {

IndexType::~IndexType() = default;

IndexType::IndexRegistration::IndexRegistration(const std::string& typeName, IndexCreator creator)
    : fTypeName(typeName), fRegistered(Index::registerType(typeName, creator)) {}

IndexType::IndexRegistration::~IndexRegistration() {
    if (fRegistered) Index::deregisterType(fTypeName);
}

}  // namespace orbo::Data
