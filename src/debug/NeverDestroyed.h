// A singleton in static storage that is made on first use and never destroyed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <new>

namespace orbo {

/// For what somebody may still use while the library unloads or the process exits. It takes no
/// memory from the heap, so nothing is lost either.
template <typename T>
class NeverDestroyed {
  public:
    /// `construct` makes the T at the address it is given; a lambda of the T's own class may call a
    /// private constructor.
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

/// The one object that `construct` makes when it is first asked for. Each lambda has its own.
template <typename T, typename Construct>
T& neverDestroyed(Construct construct) {
    static const NeverDestroyed<T> object(construct);
    return *object;
}

}  // namespace orbo
