// The text scene is registered under its extension.
// SPDX-License-Identifier: Apache-2.0
#include <data/MetaData.h>

int main() { return orbo::Data::Accessor::accessorByExtension("teapot.kx") ? 0 : 1; }
