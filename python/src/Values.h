// Values of members as Python's.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <nanobind/nanobind.h>

#include <data/Member.h>

#include <vector>

namespace orbo::Python {

namespace nb = nanobind;

/// While it lives, making Python objects runs no other Python code: no collection of garbage, whose
/// finalizers could remove the element that is being read.
class NoCollection {
  public:
    NoCollection() : fWasOn(PyGC_Disable() != 0) {}
    NoCollection(const NoCollection&) = delete;
    NoCollection& operator=(const NoCollection&) = delete;
    ~NoCollection() {
        if (fWasOn) PyGC_Enable();
    }

  private:
    bool fWasOn;
};

/// Gives the values that lie at `values`: one alone, or a tuple. A matrix is a tuple of four rows,
/// a null string is `None`.
nb::object valueOf(const Data::Member& member, const char* values);
/// A value that fits a member, ready to be stored. Making one may run any Python code, storing one
/// runs none: look the element up in between.
class NewValue {
  public:
    /// Takes a value, or a sequence of as many values as the member has. `TypeError`, `ValueError`
    /// and `OverflowError` name the member.
    NewValue(const Data::Member& member, nb::handle value);
    NewValue(NewValue&&) = default;
    ~NewValue();

    /// Puts it in place of the values that lie at `values`, in a chunk with such a member. May be
    /// called once, for strings are moved.
    void storeAt(char* values);
    /// The same with a copy, as often as one likes. Throws `std::bad_alloc` when memory runs out.
    void copyTo(char* values) const;

  private:
    bool fIsText;
    std::vector<char> fBytes;  // as in a chunk; strings are owned
};

}  // namespace orbo::Python
