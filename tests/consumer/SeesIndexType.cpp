// An index type is registered: indices come from its name and a text.
// SPDX-License-Identifier: Apache-2.0
#include <data/Index.h>

int main() {
    try {
        return orbo::Data::Index::doCreate(TYPE, TEXT).asString() == TEXT ? 0 : 1;
    } catch (orbo::Data::Index::eCreationErrors) {
        return 1;
    }
}
