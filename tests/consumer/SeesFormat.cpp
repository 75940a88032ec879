// The raw format of a family is registered and is its default.
// SPDX-License-Identifier: Apache-2.0
#include FAMILY_HEADER

int main() {
    const auto* raw = orbo::Data::FAMILY::formatByName("raw");
    return raw && raw == orbo::Data::FAMILY::defaultFormat() ? 0 : 1;
}
