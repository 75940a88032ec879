// Typed access to one element of a stream, to read and to change it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/ConstHandle.h>
#include <data/Handle.h>
#include <debug/Export.h>

namespace orbo::Data {

/// A `ConstHandle` that can change the element too: what `Stream::elements` hands out. It counts no
/// references, and a copy is a few words. It is good as long as a `ConstHandle` on the element is.
///
///     for (auto [index, element] : stream.elements()) {
///         element.set("radius", 2 * element.get<float>("radius"));
///     }
class METADATA_API ElementHandle : public ConstHandle {
  public:
    /// Makes a handle without members and without data.
    ElementHandle() = default;
    /// Gives a `Handle` on the same element, which it borrows, at the same member.
    operator Handle() const;  // NOLINT(google-explicit-constructor): it shows the same element

    /// Works as `Handle::set` does. The handle itself stays as it is, so a `const` one changes
    /// elements too.
    template <typename T>
    void set(TextArgument member, const T& value) const {
        detail::requireValueType<T>();
        char* const values = detail::valuesToSet(*this, member, detail::Value<T>::request);
        detail::store(values, value, detail::ValueCall::kSet, member);
    }

    /// These give the current member's values, as in `ConstHandle`, to be changed in place. They
    /// are null where those are.
    [[nodiscard]] bool* asBoolean() const { return editable(ConstHandle::asBoolean()); }
    [[nodiscard]] double* asDouble() const { return editable(ConstHandle::asDouble()); }
    [[nodiscard]] double* asDoubleMatrix4x4() const {
        return editable(ConstHandle::asDoubleMatrix4x4());
    }
    [[nodiscard]] float* asFloat() const { return editable(ConstHandle::asFloat()); }
    [[nodiscard]] float* asFloatMatrix4x4() const {
        return editable(ConstHandle::asFloatMatrix4x4());
    }
    [[nodiscard]] signed char* asInt8() const { return editable(ConstHandle::asInt8()); }
    [[nodiscard]] short* asInt16() const { return editable(ConstHandle::asInt16()); }
    [[nodiscard]] int* asInt32() const { return editable(ConstHandle::asInt32()); }
    [[nodiscard]] long long* asInt64() const { return editable(ConstHandle::asInt64()); }
    /// The slots own their strings, as those of `Handle::asString` do; `set` is simpler.
    [[nodiscard]] char** asString() const {
        return const_cast<char**>(ConstHandle::asString());  // the storage's own, never constant
    }
    [[nodiscard]] unsigned char* asUInt8() const { return editable(ConstHandle::asUInt8()); }
    [[nodiscard]] unsigned short* asUInt16() const { return editable(ConstHandle::asUInt16()); }
    [[nodiscard]] unsigned int* asUInt32() const { return editable(ConstHandle::asUInt32()); }
    [[nodiscard]] unsigned long long* asUInt64() const { return editable(ConstHandle::asUInt64()); }

  private:
    friend class HandleAccess;
    explicit ElementHandle(const ConstHandle& element) : ConstHandle(element) {}

    template <typename T>
    static T* editable(const T* values) {
        return const_cast<T*>(values);
    }
};

}  // namespace orbo::Data
