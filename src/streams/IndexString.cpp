// Index of any text, such as the name of a joint.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexString.h>
#include <debug/Count.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

std::unique_ptr<char[]> copyOf(const std::string& text) {
    std::unique_ptr<char[]> copy(new char[text.size()]);
    text.copy(copy.get(), text.size());
    return copy;
}

}  // namespace

Debug::ObjectCounter IndexString::_objects;

IndexString::IndexString() { _objects.objectCreated(); }

IndexString::IndexString(const std::string& text)
    : fOwn(copyOf(text)), fText(fOwn.get(), text.size()) {
    _objects.objectCreated();
}

IndexString::IndexString(const IndexString& other) : IndexString(other.indexString()) {}

IndexString::IndexString(std::string_view text, Elsewhere) noexcept : fText(text) {
    _objects.objectCreated();
}

IndexString::~IndexString() { _objects.objectDestroyed(); }

IndexString* IndexString::make(std::string_view text) {
    void* const block = ::operator new(sizeof(IndexString) + text.size());
    char* const behind = static_cast<char*>(block) + sizeof(IndexString);
    text.copy(behind, text.size());
    return ::new (block) IndexString(std::string_view(behind, text.size()), Elsewhere());
}

IndexString& IndexString::operator=(const IndexString& other) {
    return *this = other.indexString();
}

IndexString& IndexString::operator=(const std::string& text) {
    fOwn = copyOf(text);
    fText = std::string_view(fOwn.get(), text.size());
    return *this;
}

bool IndexString::Debug(const IndexString* index, Debug::Print& print) {
    if (index) print.doIndent() << index->fText;
    return true;
}

bool IndexString::Debug(const IndexString* index, Debug::Footprint& footprint) {
    if (index) footprint.addObject(index, sizeof(IndexString));
    return true;
}

bool IndexString::Debug(const IndexString*, Debug::Count& count) {
    count = objectsAlive();
    return true;
}

unsigned long long IndexString::objectsCreated() { return _objects.created(); }

unsigned long long IndexString::objectsAlive() { return _objects.alive(); }

}  // namespace orbo::Data
