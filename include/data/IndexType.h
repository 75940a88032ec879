// Base of all typed index values, and the template that concrete types derive from.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>
#include <debug/Export.h>
#include <debug/RefCounted.h>

#include <string>
#include <typeinfo>

namespace orbo::Data {

class METADATA_API IndexType : public RefCounted {
  public:
    /// Enters a type into the registry while it lives, typically as a static of the type. An
    /// unloaded plug-in thereby leaves nothing behind.
    class METADATA_API IndexRegistration {
      public:
        IndexRegistration(const std::string& typeName, IndexCreator creator);
        IndexRegistration(const IndexRegistration&) = delete;
        IndexRegistration& operator=(const IndexRegistration&) = delete;
        ~IndexRegistration();
        /// False when the name was taken: the earlier creator stays.
        [[nodiscard]] bool registered() const { return fRegistered; }

      private:
        std::string fTypeName;
        bool fRegistered;
    };

  protected:
    ~IndexType() override;

  public:
    /// A new value without references, owned by the caller.
    [[nodiscard]] virtual IndexType* clone() const = 0;
    /// `Index::doCreate(typeName(), asString())` gives an equal index.
    [[nodiscard]] virtual std::string asString() const = 0;
    [[nodiscard]] virtual bool supportsDenseMode() const = 0;
    [[nodiscard]] virtual unsigned int denseSpaceBetween(const IndexType& other) const = 0;
    /// Values of another type are never equal and sort by `typeName()`.
    virtual bool operator==(const IndexType& other) const = 0;
    virtual bool operator!=(const IndexType& other) const = 0;
    virtual bool operator<(const IndexType& other) const = 0;
    virtual bool operator<=(const IndexType& other) const = 0;
    virtual bool operator>(const IndexType& other) const = 0;
    virtual bool operator>=(const IndexType& other) const = 0;
    [[nodiscard]] virtual std::string typeName() const = 0;

  protected:
    friend class Index;
    /// An index of a value without references, which it owns.
    static Index take(IndexType* fresh) { return Index::take(fresh); }

    IndexType() = default;
    IndexType(const IndexType&) = default;
    IndexType& operator=(const IndexType&) = default;
};

/// What a concrete type `T` gets for free: naming, cloning, creation, and comparison with values of
/// any type. `T` has a static `std::string myTypeName`, a constructor from text that may throw
/// `Index::eCreationErrors`, and the six comparisons with its own type.
template <typename T>
class CRTP_IndexType : public IndexType {
  public:
    [[nodiscard]] IndexType* clone() const override { return new T(self()); }
    [[nodiscard]] std::string typeName() const override { return T::myTypeName; }
    static std::string theTypeName() { return T::myTypeName; }
    static Index doCreate(const std::string& text) { return take(new T(text)); }

    bool operator==(const IndexType& other) const override {
        const T* same = asOwnType(other);
        return same && self() == *same;
    }
    bool operator!=(const IndexType& other) const override {
        const T* same = asOwnType(other);
        return !same || self() != *same;
    }
    bool operator<(const IndexType& other) const override {
        const T* same = asOwnType(other);
        return same ? self() < *same : typeName() < other.typeName();
    }
    bool operator<=(const IndexType& other) const override {
        const T* same = asOwnType(other);
        return same ? self() <= *same : typeName() < other.typeName();
    }
    bool operator>(const IndexType& other) const override {
        const T* same = asOwnType(other);
        return same ? self() > *same : other.typeName() < typeName();
    }
    bool operator>=(const IndexType& other) const override {
        const T* same = asOwnType(other);
        return same ? self() >= *same : other.typeName() < typeName();
    }

  private:
    [[nodiscard]] const T& self() const { return static_cast<const T&>(*this); }
    // Nearly all that are compared are of one type, which takes no search through its bases.
    static const T* asOwnType(const IndexType& other) {
        return typeid(other) == typeid(T) ? static_cast<const T*>(&other)
                                          : dynamic_cast<const T*>(&other);
    }
};

}  // namespace orbo::Data
