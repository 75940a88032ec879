// A member of a structure that is looked up once and then used with many elements.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/ElementHandle.h>
#include <data/Handle.h>
#include <data/TextArgument.h>
#include <data/detail/Values.h>
#include <debug/Export.h>
#include <debug/RefPtr.h>

#include <cstring>
#include <optional>

namespace orbo::Data {

class Layout;
class Structure;

/// Tells `MemberRef` where its values are. Programs have no use for it.
class METADATA_API MemberPlace {
  protected:
    MemberPlace(const Structure& structure, TextArgument member, detail::ValueRequest request);
    MemberPlace(const MemberPlace& other);
    MemberPlace& operator=(const MemberPlace& other);
    ~MemberPlace();

    /// Finds the first value. Throws `std::invalid_argument` where the element has no such member.
    template <typename AnyHandle>
    [[nodiscard]] const char* valuesIn(const AnyHandle& element) const {
        if (layoutOf(element) == fLayoutSeen && element.fData) return element.fData + fOffset;
        refuse(element.fStructure, element.fData);
    }
    /// Finds the same, or returns null.
    [[nodiscard]] const char* findIn(const ConstHandle& element) const;
    [[nodiscard]] TextArgument name() const;

  private:
    static const Layout* layoutOf(const ConstHandle& element) { return element.fLayout; }
    static const Layout* layoutOf(const Handle& element) { return element.fLayout.get(); }
    [[noreturn]] void refuse(const Structure* structure, const char* data) const;

    RefPtr<const Structure> fStructure;
    RefPtr<const Layout> fLayout;  // the one that the member was found in
    const Layout* fLayoutSeen;     // the same, at hand
    unsigned long long fOffset;
    detail::ValueRequest fRequest;
};

/// Saves the look-up by name that `get` and `set` make each time: in a loop over a stream it costs
/// what a pointer costs. `T` is one of the types that `ConstHandle::get` takes. Keeps the structure
/// alive. Any number of threads may use one object at once.
///
///     const MemberRef<float> radius(stream.structure(), "radius");
///     for (auto [index, element] : stream.elements()) {
///         if (radius(element) > 1) radius.set(element, 1.0F);
///     }
///
/// It works with every handle and iterator on elements of that structure object. Make it when the
/// structure has all its members: elements of another structure, even an equal one, and of a
/// structure that has got members since, are refused with `std::invalid_argument`. For that, each
/// use compares one pointer and looks whether the element has data: 9 instructions for each element
/// of a loop, where `StreamColumn`, which does not look, takes 5.
///
/// A copy counts two references and looks nothing up. Elements are given as a `Handle`, a
/// `ConstHandle`, an `ElementHandle`, or a `StreamIterator`, which stands for its element; a
/// `ConstHandle` can only be read.
template <typename T>
class MemberRef : private MemberPlace {
  public:
    /// Looks the member up, once. Throws `std::invalid_argument`, naming the member, its type and
    /// the request, when the structure has no such member or it is not exactly a `T`.
    MemberRef(const Structure& structure, TextArgument member)
        : MemberPlace(structure, member, detail::Value<T>::request) {
        detail::requireValueType<T>();
    }

    /// Gives the element's value: `radius(element)` or `radius.get(element)`. Throws
    /// `std::invalid_argument` for elements of other structures, without data, and for null
    /// strings. A `std::string_view` is good until the string is replaced.
    template <typename Element>
    [[nodiscard]] T operator()(const Element& element) const {
        return loadFrom(valuesIn(handleOf(element)));
    }
    template <typename Element>
    [[nodiscard]] T get(const Element& element) const {
        return (*this)(element);
    }
    /// Gives the same value, or nothing where `get` would throw. It costs a call, and never throws
    /// but `std::bad_alloc` for a `T` that takes memory.
    template <typename Element>
    [[nodiscard]] std::optional<T> tryGet(const Element& element) const {
        const char* const values = findIn(handleOf(element));
        if (!values || detail::hasNullString<T>(values)) return std::nullopt;
        return detail::load<T>(values);
    }

    /// Sets the element's value, through a handle on it or an iterator. Throws as `get` does, and
    /// as `Handle::set` does for texts; the element then has its old value.
    void set(const ElementHandle& element, const T& value) const { storeTo(element, value); }
    void set(Handle& element, const T& value) const { storeTo(element, value); }
    void set(Handle&& element, const T& value) const { storeTo(element, value); }
    template <typename Iterator>
    auto set(Iterator&& place, const T& value) const -> decltype(place.index(), void()) {
        storeTo(*place, value);
    }

  private:
    static const ConstHandle& handleOf(const ConstHandle& element) { return element; }
    static const Handle& handleOf(const Handle& element) { return element; }
    template <typename Iterator>
    static auto handleOf(const Iterator& place) -> decltype((place.index(), *place)) {
        return *place;
    }

    T loadFrom(const char* values) const {
        if (detail::hasNullString<T>(values))
            detail::refuseNullString(detail::ValueCall::kMemberRef, name());
        return detail::load<T>(values);
    }
    template <typename AnyHandle>
    void storeTo(const AnyHandle& element, const T& value) const {
        char* const values = const_cast<char*>(valuesIn(element));
        if constexpr (detail::Value<T>::request.type == Member::kString) {
            detail::store(values, value, detail::ValueCall::kMemberRef, name());
        } else {
            std::memcpy(values, &value, sizeof value);
        }
    }
};

}  // namespace orbo::Data
