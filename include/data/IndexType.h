// Base of all typed index values, and the template that concrete types derive from.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Index.h>
#include <debug/Export.h>
#include <debug/RefCounted.h>

#include <string>
#include <typeinfo>

namespace orbo::Data {

/// A value that names an element, of a type that somebody defines. Indices own such values and
/// count references on them. Derive from `CRTP_IndexType`, which implements most of this:
///
///     class IndexUv : public CRTP_IndexType<IndexUv> {
///       public:
///         explicit IndexUv(const std::string& text);  // throws Index::eMalformedIndex
///         static const std::string myTypeName;        // "uv"
///         static IndexRegistration myRegistration;    // {myTypeName, &IndexUv::doCreate}
///         ...
///     };
class METADATA_API IndexType : public RefCounted {
  public:
    /// Registers a type as long as the object lives, typically as a static of the type: a plug-in
    /// that is unloaded leaves nothing behind. Must not happen while other threads use indices.
    class METADATA_API IndexRegistration {
      public:
        /// `creator` makes an index of the type from its text form. A name that is taken is not
        /// registered, and nothing is thrown: see `registered`.
        IndexRegistration(const std::string& typeName, IndexCreator creator);
        IndexRegistration(const IndexRegistration&) = delete;
        IndexRegistration& operator=(const IndexRegistration&) = delete;
        ~IndexRegistration();
        /// Returns false when the name was taken: the earlier creator stays.
        [[nodiscard]] bool registered() const { return fRegistered; }

      private:
        std::string fTypeName;
        bool fRegistered;
    };

  protected:
    ~IndexType() override;

  public:
    /// Makes a new value without references, which the caller owns. Throws `std::bad_alloc` when
    /// memory runs out.
    [[nodiscard]] virtual IndexType* clone() const = 0;
    /// Gives the text form: `Index::doCreate(typeName(), asString())` gives an equal index.
    [[nodiscard]] virtual std::string asString() const = 0;
    /// Tells whether dense storage makes sense for such indices. The library only reports it.
    [[nodiscard]] virtual bool supportsDenseMode() const = 0;
    /// Gives the number of elements between both values, both included, modulo 2^32; 0 for another
    /// type.
    [[nodiscard]] virtual unsigned int denseSpaceBetween(const IndexType& other) const = 0;
    /// Values of two types are never equal and sort by `typeName()`. The order must be total and
    /// must not change while a stream has the value.
    virtual bool operator==(const IndexType& other) const = 0;
    virtual bool operator!=(const IndexType& other) const = 0;
    virtual bool operator<(const IndexType& other) const = 0;
    virtual bool operator<=(const IndexType& other) const = 0;
    virtual bool operator>(const IndexType& other) const = 0;
    virtual bool operator>=(const IndexType& other) const = 0;
    /// Gives the name that files and the registry have for the type.
    [[nodiscard]] virtual std::string typeName() const = 0;

  protected:
    friend class Index;
    /// Makes an index that takes over a value without references.
    static Index take(IndexType* fresh) { return Index::take(fresh); }

    IndexType() = default;
    IndexType(const IndexType&) = default;
    IndexType& operator=(const IndexType&) = default;
};

/// Implements naming, cloning, creation, and comparison with values of any type for a concrete type
/// `T`. `T` has a static `std::string myTypeName`, a constructor from text that may throw
/// `Index::eCreationErrors`, and the six comparisons with its own type. See `IndexType`.
template <typename T>
class CRTP_IndexType : public IndexType {
  public:
    /// Copies by `T`'s copy constructor.
    [[nodiscard]] IndexType* clone() const override { return new T(self()); }
    [[nodiscard]] std::string typeName() const override { return T::myTypeName; }
    static std::string theTypeName() { return T::myTypeName; }
    /// Serves as the creator to register. It throws what `T`'s constructor from text throws.
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
    // Nearly all compared values are of one type: spare them the search through their bases.
    static const T* asOwnType(const IndexType& other) {
        return typeid(other) == typeid(T) ? static_cast<const T*>(&other)
                                          : dynamic_cast<const T*>(&other);
    }
};

}  // namespace orbo::Data
