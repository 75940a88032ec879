// Lets a base pointer reach the most derived class's static Debug function.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo::Debug {

class Print;
class Footprint;

/// `T` derives from this and has a static `bool Debug(const T*, V&)`, which `debug` calls.
///
///     class Disc : public Shape, public Debug::CRTP_Debug<Disc, Debug::Print> {
///       public:
///         static bool Debug(const Disc* disc, Debug::Print& print);
///     };
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
