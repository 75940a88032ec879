// Registers a kind of accessor under a file extension.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/detail/UniquePtr.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Registered while it lives, typically as a static of whoever defines the accessor.
class METADATA_API AccessorFactoryBase {
  public:
    AccessorFactoryBase(const AccessorFactoryBase&) = delete;
    AccessorFactoryBase& operator=(const AccessorFactoryBase&) = delete;
    virtual ~AccessorFactoryBase();
    [[nodiscard]] virtual std::unique_ptr<Accessor> create() = 0;

  protected:
    /// Without regard to case. An extension that is served already stays with the earlier factory;
    /// an empty one is not registered.
    explicit AccessorFactoryBase(const std::string& extension);
    static std::unique_ptr<Accessor> owned(Accessor* accessor);
};

template <typename T>
class AccessorFactory : public AccessorFactoryBase {
  public:
    explicit AccessorFactory(const std::string& extension) : AccessorFactoryBase(extension) {}
    [[nodiscard]] std::unique_ptr<Accessor> create() override { return owned(new T); }
};

}  // namespace orbo::Data
