// Lets a base pointer reach the most derived class's static Debug function.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Debug {

class Print;
class Footprint;

/// `T` derives from this and has a static `bool Debug(const T*, V&)`.
template <typename T, typename V>
class CRTP_Debug {
  public:
    virtual ~CRTP_Debug() = default;
    virtual bool debug(V& visitor) const { return T::Debug(static_cast<const T*>(this), visitor); }

  protected:
    CRTP_Debug() = default;
    CRTP_Debug(const CRTP_Debug&) = default;
    CRTP_Debug& operator=(const CRTP_Debug&) = default;
};

}  // namespace orbo::Debug
