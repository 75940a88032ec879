// The registry of accessor factories by file extension, and look-up in it.
// SPDX-License-Identifier: Apache-2.0
#include <data/AccessorFactory.h>

#include <iterator>
#include <map>
#include <memory>

#include "core/Ascii.h"
#include "debug/StartUp.h"
#include "scenes/Messages.h"

namespace orbo::Data {

namespace {

// Makes a static library link the accessors that it registers itself.
[[gnu::used]] const char* const keep = &registrationAnchor;

using Registry = std::map<std::string, AccessorFactoryBase*>;

Registry& registry() {
    static Registry factories;
    return factories;
}

}  // namespace

// Calls `registry` even for an empty extension: the registry is then constructed before the factory
// and outlives it.
AccessorFactoryBase::AccessorFactoryBase(const std::string& extension) {
    Registry& factories = registry();
    if (!extension.empty()) factories.emplace(Ascii::lower(extension), this);
}

std::unique_ptr<Accessor> AccessorFactoryBase::owned(Accessor* accessor) {
    return std::unique_ptr<Accessor>(accessor);
}

AccessorFactoryBase::~AccessorFactoryBase() {
    Registry& factories = registry();
    for (auto entry = factories.begin(); entry != factories.end();) {
        entry = entry->second == this ? factories.erase(entry) : std::next(entry);
    }
}

std::unique_ptr<Accessor> Accessor::accessorByExtension(const std::string& fileName) {
    const std::size_t dot = fileName.rfind('.');
    const std::string extension = dot == std::string::npos ? fileName : fileName.substr(dot + 1);
    const auto found = registry().find(Ascii::lower(extension));
    return found == registry().end() ? nullptr : found->second->create();
}

std::set<std::string> Accessor::supportedExtensions() {
    std::set<std::string> extensions;
    for (const auto& entry : registry()) extensions.insert(entry.first);
    return extensions;
}

std::unique_ptr<Accessor> Accessor::readFile(const std::string& fileName, std::string& errors) {
    std::unique_ptr<Accessor> accessor = accessorByExtension(fileName);
    if (!accessor) {
        addMessage(errors, "No factory registered for type of file \"" + fileName + "\"");
        return nullptr;
    }
    if (!accessor->read(fileName, errors)) accessor.reset();
    return accessor;
}

}  // namespace orbo::Data
