// Owner of one reference on a RefCounted object.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

namespace orbo {

/// Holds what `create()` or a format's `read` returned, so that it is released whatever happens:
/// `RefPtr<Structure> s(Structure::create());`. Null is allowed.
template <typename T>
class RefPtr {
  public:
    RefPtr() = default;
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

    [[nodiscard]] T* get() const { return fObject; }
    T& operator*() const { return *fObject; }
    T* operator->() const { return fObject; }
    explicit operator bool() const { return fObject != nullptr; }

  private:
    T* fObject = nullptr;
};

}  // namespace orbo
