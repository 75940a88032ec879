// The registries and default formats of the four families, and the destructors of their bases.
// SPDX-License-Identifier: Apache-2.0
#include <data/SerializerFamily.h>

#include "debug/StartUp.h"

#include <data/AssociationsSerializer.h>
#include <data/ChannelSerializer.h>
#include <data/StreamSerializer.h>
#include <data/StructureSerializer.h>

namespace orbo::Data {

namespace {
// This makes a program that is linked with the static library load the raw formats, too.
[[gnu::used]] const char* const keep = &registrationAnchor;
}  // namespace

template <typename F>
const F* SerializerFamily<F>::theDefault = nullptr;

template <typename F>
std::set<const F*>& SerializerFamily<F>::allFormatsToEdit() {
    static std::set<const F*> formats;
    return formats;
}

template <typename F>
const std::set<const F*>& SerializerFamily<F>::allFormats() {
    return allFormatsToEdit();
}

template <typename F>
void SerializerFamily<F>::registerFormat(const F& format) {
    allFormatsToEdit().insert(&format);
}

template <typename F>
void SerializerFamily<F>::deregisterFormat(const F& format) {
    std::set<const F*>& formats = allFormatsToEdit();
    formats.erase(&format);
    if (theDefault == &format) theDefault = formats.empty() ? nullptr : *formats.begin();
}

template <typename F>
const F* SerializerFamily<F>::formatByName(const std::string& name) {
    for (const F* format : allFormats()) {
        if (name == format->formatType()) return format;
    }
    return nullptr;
}

template <typename F>
const F* SerializerFamily<F>::defaultFormat() {
    return theDefault;
}

template <typename F>
void SerializerFamily<F>::setDefaultFormat(const F* format) {
    theDefault = format;
}

template class SerializerFamily<AssociationsSerializer>;
template class SerializerFamily<ChannelSerializer>;
template class SerializerFamily<StreamSerializer>;
template class SerializerFamily<StructureSerializer>;

AssociationsSerializer::~AssociationsSerializer() = default;
ChannelSerializer::~ChannelSerializer() = default;
StreamSerializer::~StreamSerializer() = default;
StructureSerializer::~StructureSerializer() = default;

}  // namespace orbo::Data
