// What all accessors share: the model, and reading with the caller's structures set aside.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Structure.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "core/Ascii.h"
#include "core/StructureRegistry.h"
#include "scenes/Messages.h"
#include "scenes/model/ModelPlace.h"

namespace orbo::Data {

namespace {

/// Holds a reference on every structure in the set.
class HeldStructures {
  public:
    using Set = Accessor::StructureSet;

    HeldStructures() = default;
    explicit HeldStructures(Set structures) : fStructures(std::move(structures)) {
        for (const Structure* structure : fStructures) structure->ref();
    }
    HeldStructures(const HeldStructures&) = delete;
    HeldStructures& operator=(const HeldStructures&) = delete;
    ~HeldStructures() {
        for (const Structure* structure : fStructures) structure->unref();
    }

    void swap(HeldStructures& other) noexcept { fStructures.swap(other.fStructures); }
    [[nodiscard]] const Set& get() const { return fStructures; }

  private:
    Set fStructures;
};

const char* nameOf(const Structure& structure) { return structure.name() ? structure.name() : ""; }

[[noreturn]] void throwNullStructure() {
    throw std::invalid_argument("Null Structure found in StructureSet.");
}

}  // namespace

struct Accessor::Impl {
    void addFinding(std::string_view message) {
        message = Ascii::trim(message);
        if (!message.empty()) findings.emplace_back().message = message;
    }

    std::string fileName;
    HeldStructures structures;
    AssociationsMap associations;
    WritePolicy writePolicy;
    ReadPolicy readPolicy;
    Milliseconds patience = Milliseconds(10'000);
    Callback<bool()> waitingStops;
    bool lastReadSucceeded = false;
    bool metConflict = false;
    bool metEdits = true;
    std::vector<Finding> findings;
};

bool Accessor::StructureNameLessThan::operator()(const Structure* left,
                                                 const Structure* right) const {
    if (!left || !right) throwNullStructure();
    return std::strcmp(nameOf(*left), nameOf(*right)) < 0;
}

Accessor::Accessor() : fImpl(new Impl) {}

Accessor::~Accessor() = default;

bool Accessor::read(const std::string& fileName, std::string& errors) {
    return read(fileName, nullptr, nullptr, errors);
}

bool Accessor::read(const std::string& fileName, const std::set<std::string>* structureNames,
                    const std::set<std::string>* associationNames, std::string& errors) {
    return readBy(
        [&](std::string& messages) {
            return readImplementation(structureNames, associationNames, messages);
        },
        fileName, errors);
}

bool Accessor::readBy(const Callback<bool(std::string& errors)>& implementation,
                      const std::string& fileName, std::string& errors) {
    const StructureRegistry::SetAside callersStructures;
    // Any failure from here on, exceptions included, leaves the accessor empty.
    struct Guard {
        explicit Guard(Accessor& reading) : accessor(reading) {
            accessor.fImpl->lastReadSucceeded = false;
        }
        ~Guard() {
            if (!accessor.fImpl->lastReadSucceeded) accessor.clear();
        }
        Accessor& accessor;
    };
    const Guard guard(*this);
    fImpl->fileName = fileName;
    fImpl->findings.clear();
    clear();
    const std::size_t before = errors.size();
    const bool done = implementation(errors);
    if (fImpl->findings.empty())
        fImpl->addFinding(std::string_view(errors).substr(std::min(before, errors.size())));
    if (!done) return false;
    const std::set<Structure*>& found = Structure::allStructures();
    HeldStructures(StructureSet(found.begin(), found.end())).swap(fImpl->structures);
    fImpl->lastReadSucceeded = true;
    return true;
}

bool Accessor::load(const std::string& name, std::string& errors) {
    if (fImpl->associations.count(name) > 0) return true;
    fImpl->findings.clear();
    fImpl->addFinding(ModelPlace::of(name) + " is not in the file.");
    return fail(errors, fImpl->findings.back().message);
}

std::set<std::string> Accessor::unloadedNodes() const { return {}; }

void Accessor::prepareEdits() {
    ReadPolicy policy = readPolicy();
    policy.preparesEdits = true;
    setReadPolicy(policy);
}

std::vector<Finding> Accessor::check(const std::string& fileName) {
    std::string ignored;
    read(fileName, ignored);
    return findings();
}

bool Accessor::write(std::string& errors) const {
    return fail(errors, typeid(*this).name() +
                            std::string(" does not implement orbo::Data::Accessor::write"));
}

bool Accessor::rehearse(std::string& errors) const {
    return fail(errors, typeid(*this).name() +
                            std::string(" does not implement orbo::Data::Accessor::rehearse"));
}

bool Accessor::isFileSupported(const std::string&) const { return true; }

bool Accessor::isEdited() const { return true; }

Accessor::AssociationsMap& Accessor::associations() { return fImpl->associations; }

const Accessor::AssociationsMap& Accessor::associations() const { return fImpl->associations; }

const Accessor::StructureSet& Accessor::structures() const { return fImpl->structures.get(); }

void Accessor::setStructures(const StructureSet& structures) {
    // The comparison throws for null, but a set of one element never compares.
    for (const Structure* structure : structures) {
        if (!structure) throwNullStructure();
    }
    HeldStructures(structures).swap(fImpl->structures);
}

void Accessor::clear() {
    HeldStructures().swap(fImpl->structures);
    fImpl->associations.clear();
}

const std::string& Accessor::fileName() const { return fImpl->fileName; }

const std::vector<Finding>& Accessor::findings() const { return fImpl->findings; }

void Accessor::setFindings(std::vector<Finding> findings) const {
    fImpl->findings = std::move(findings);
}

bool Accessor::lastReadSucceeded() const { return fImpl->lastReadSucceeded; }

void Accessor::setMetConflict(bool conflict) const { fImpl->metConflict = conflict; }

void Accessor::setMetEdits(bool edits) const { fImpl->metEdits = edits; }

bool Accessor::metEdits() const { return fImpl->metEdits; }

bool Accessor::metConflict() const { return fImpl->metConflict; }

Milliseconds Accessor::patience() const { return fImpl->patience; }

void Accessor::setPatience(Milliseconds patience) { fImpl->patience = patience; }

void Accessor::stopWaitingWhen(Callback<bool()> condition) {
    fImpl->waitingStops = std::move(condition);
}

const Callback<bool()>& Accessor::waitingStops() const { return fImpl->waitingStops; }

const WritePolicy& Accessor::writePolicy() const { return fImpl->writePolicy; }

void Accessor::setWritePolicy(const WritePolicy& policy) { fImpl->writePolicy = policy; }

const ReadPolicy& Accessor::readPolicy() const { return fImpl->readPolicy; }

void Accessor::setReadPolicy(const ReadPolicy& policy) { fImpl->readPolicy = policy; }

}  // namespace orbo::Data
