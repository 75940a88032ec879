// Marks what the shared library exports; everything else in it is hidden.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#if defined(_WIN32)
#define METADATA_API
#else
#define METADATA_API __attribute__((visibility("default")))
#endif
