// Owner of one reference on a RefCounted object.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace orbo {

/// Holds what `create()` or a format's `read` returned, so that it is released whatever happens.
/// Null is allowed.
///
///     RefPtr<Structure> structure(Structure::create());
///     structure->addMember(Member::kFloat, 1, "radius");
///
/// Each `RefPtr` may be used by one thread at a time, and two that share an object by two threads.
/// Going through a null pointer is undefined. Nothing here throws, but the destructor of the object
/// runs where its last reference goes.
template <typename T>
class RefPtr {
  public:
    /// Null.
    RefPtr() = default;
    /// Takes a reference of its own on the object.
    explicit RefPtr(T* object) : fObject(object) {
        if (fObject) fObject->ref();
    }
    RefPtr(const RefPtr& other) : RefPtr(other.fObject) {}
    RefPtr(RefPtr&& other) noexcept : fObject(std::exchange(other.fObject, nullptr)) {}
    RefPtr& operator=(RefPtr other) noexcept {
        std::swap(fObject, other.fObject);
        return *this;
    }
    ~RefPtr() {
        if (fObject) fObject->unref();
    }

    /// Gives the object, which the pointer keeps alive; null when there is none.
    [[nodiscard]] T* get() const { return fObject; }
    /// Both require that there is an object.
    T& operator*() const { return *fObject; }
    T* operator->() const { return fObject; }
    explicit operator bool() const { return fObject != nullptr; }

  private:
    T* fObject = nullptr;
};

}  // namespace orbo
