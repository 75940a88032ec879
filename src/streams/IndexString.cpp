// Index of any text, such as the name of a joint.
// SPDX-License-Identifier: Apache-2.0

#include <data/IndexString.h>
#include <debug/Count.h>
#include <debug/Footprint.h>
#include <debug/Print.h>

#include "debug/ObjectCounter.h"

namespace orbo::Data {

Debug::ObjectCounter IndexString::_objects;

IndexString::IndexString() { _objects.objectCreated(); }

IndexString::IndexString(const std::string& text) : fValue(text) { _objects.objectCreated(); }

IndexString::IndexString(const IndexString& other) : IndexString(other.fValue) {}

IndexString::~IndexString() { _objects.objectDestroyed(); }

IndexString& IndexString::operator=(const IndexString& other) = default;

IndexString& IndexString::operator=(const std::string& text) {
    fValue = text;
    return *this;
}

bool IndexString::Debug(const IndexString* index, Debug::Print& print) {
    if (index) print.doIndent() << index->fValue;
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
