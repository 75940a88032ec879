// Registers a kind of accessor under a file extension.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Accessor.h>
#include <data/detail/UniquePtr.h>
#include <debug/Export.h>

#include <string>

namespace orbo::Data {

/// Makes accessors for one file extension as long as it lives, typically as a static of whoever
/// defines the accessor. Programs use `AccessorFactory`.
class METADATA_API AccessorFactoryBase {
  public:
    AccessorFactoryBase(const AccessorFactoryBase&) = delete;
    AccessorFactoryBase& operator=(const AccessorFactoryBase&) = delete;
    virtual ~AccessorFactoryBase();
    /// Makes a new, empty accessor. Throws what its constructor throws.
    [[nodiscard]] virtual std::unique_ptr<Accessor> create() = 0;

  protected:
    /// Registers the factory for an extension, in upper or lower case. An extension that is served
    /// already stays with the earlier factory; an empty one is not registered.
    explicit AccessorFactoryBase(const std::string& extension);
    static std::unique_ptr<Accessor> owned(Accessor* accessor);
};

/// Makes accessors of class `T`, which has a default constructor.
///
///     static AccessorFactory<NoteAccessor> notes("note");  // for files such as today.note
template <typename T>
class AccessorFactory : public AccessorFactoryBase {
  public:
    explicit AccessorFactory(const std::string& extension) : AccessorFactoryBase(extension) {}
    [[nodiscard]] std::unique_ptr<Accessor> create() override { return owned(new T); }
};

}  // namespace orbo::Data
