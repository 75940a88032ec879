// Elements of one small structure as words: "7 seven", "0 ~" for a default, "-" without data.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <data/IndexPair.h>
#include <data/IndexString.h>
#include <data/Stream.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>
#include <gmock/gmock.h>

#include <cstring>
#include <string>
#include <utility>

namespace orbo::Data {

inline RefPtr<Structure> numberAndText() {
    RefPtr<Structure> structure(new Structure("Item"));
    structure->addMember(Member::kInt32, 1, "number");
    structure->addMember(Member::kString, 2, "texts");
    return structure;
}

/// The text goes into the second of the two strings.
inline Handle item(const Structure& structure, int number, const char* text) {
    Handle handle(structure);
    *handle.asInt32() = number;
    handle.setPositionByMemberName("texts");
    if (text) handle.asString()[1] = ::strdup(text);
    handle.setPositionByMemberIndex(0);
    return handle;
}

inline std::string words(Handle handle) {
    if (!handle.hasData()) return "-";
    handle.setPositionByMemberName("number");
    std::string result = handle.str(0);
    handle.setPositionByMemberName("texts");
    const char* text = handle.asString()[1];
    return result + ' ' + (text ? text : "~");
}

/// "2=7 seven|5=0 ~|"
inline std::string words(const Stream& stream) {
    std::string result;
    for (StreamIterator it = stream.begin(); it != stream.end(); ++it) {
        result += it.index().asString() + '=' + words(*it) + '|';
    }
    return result;
}

inline Stream denseStream(const Structure& structure, const char* name = "dense") {
    Stream stream(structure, name);
    stream.useDenseStorage(true);
    return stream;
}

/// A structure with elements of so many bytes.
inline RefPtr<Structure> bytesStructure(unsigned int size) {
    RefPtr<Structure> structure(new Structure("Bytes"));
    if (size != 0) structure->addMember(Member::kUInt8, size, "bytes");
    return structure;
}

}  // namespace orbo::Data
