// Texts through the raw formats and back.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/Structure.h>
#include <data/StructureSerializerRaw.h>
#include <debug/RefPtr.h>
#include <gtest/gtest.h>

#include <locale>
#include <memory>
#include <sstream>
#include <string>

namespace orbo::Data {

/// Numbers as some people write them. No text may depend on it.
struct Foreign : std::numpunct<char> {
    char do_decimal_point() const override { return ','; }
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Its settings may not change the text, either.
struct ForeignStream : std::stringstream {
    explicit ForeignStream(const std::string& text = "") : std::stringstream(text) {
        imbue(std::locale(getloc(), new Foreign));
        width(100);
        setf(std::ios_base::hex, std::ios_base::basefield);
    }
};

template <typename Raw, typename Object>
std::string written(const Object& object) {
    ForeignStream out;
    std::string errors;
    EXPECT_EQ(Raw::theFormat().write(object, out, errors), 0);
    return errors + out.str();
}
template <>
inline std::string written<StructureSerializerRaw>(const Structure& structure) {
    ForeignStream out;
    EXPECT_EQ(StructureSerializerRaw::theFormat().write(structure, out), 0);
    return out.str();
}

template <typename Object>
std::unique_ptr<Object> owned(Object* object) {
    return std::unique_ptr<Object>(object);
}
inline RefPtr<Structure> owned(Structure* structure) { return RefPtr<Structure>(structure); }

/// The messages behind those of before, then what the text gives, written again.
template <typename Raw>
std::string reread(const std::string& text, std::string errors = "") {
    ForeignStream in(text);
    const auto object = owned(Raw::theFormat().read(in, errors));
    return object ? errors + written<Raw>(*object) : errors;
}

}  // namespace orbo::Data
