// What src/Registration.cpp and the rooms below it need from each other.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orbo {

/// Defined in src/Registration.cpp. The source of every registry refers to it, so that a program
/// linked with the static library gets the registrations together with the registry.
extern const char registrationAnchor;

/// Sets the class checkpoint to the global one; called when the library is loaded.
void setClassCheckpointAtLoad();

}  // namespace orbo
