// What src/Registration.cpp and the rooms below it need of each other.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo {

/// Defined in src/Registration.cpp. Every registry's source refers to it, so that a program that is
/// linked with the static library gets the registrations with the registry.
extern const char registrationAnchor;

/// The class checkpoint starts where the global one stands when the library is loaded.
void setClassCheckpointAtLoad();

}  // namespace orbo
