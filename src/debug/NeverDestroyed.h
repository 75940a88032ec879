// An object in static storage that is made at first use and never destroyed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <new>

namespace orbo {

/// For objects that may still be used while the library unloads or the process exits. It takes no
/// memory from the heap, so nothing leaks.
template <typename T>
class NeverDestroyed {
  public:
    /// `construct` makes the T at the address it is given. A lambda in a member function of T may
    /// call a private constructor.
    template <typename Construct>
    explicit NeverDestroyed(Construct construct) {
        fObject = construct(fStorage);
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;

    T& operator*() const { return *fObject; }

  private:
    alignas(T) unsigned char fStorage[sizeof(T)];
    T* fObject = nullptr;
};

/// Returns the object that `construct` makes at the first call. Each lambda has its own.
template <typename T, typename Construct>
T& neverDestroyed(Construct construct) {
    static const NeverDestroyed<T> object(construct);
    return *object;
}

}  // namespace orbo
