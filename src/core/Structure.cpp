// A named record layout of typed members.
// SPDX-License-Identifier: Apache-2.0
#include <data/Structure.h>

#include <cstring>
#include <memory>
#include <utility>

#include "core/StructureImpl.h"
#include "core/StructureRegistry.h"
#include "core/ValueCalls.h"
#include "debug/ObjectCounter.h"

namespace orbo::Data {

namespace {

constexpr const char* kDefaultName = "structure";

}  // namespace

Structure::Impl::Impl(const char* givenName)
    : name(givenName ? givenName : kDefaultName), layout(new Layout) {}

Structure::Impl::~Impl() { dropDefaultBlock(); }

Layout& Structure::Impl::editableLayout() {
    if (layout->isShared()) layout = RefPtr<Layout>(new Layout(*layout));
    return *layout;
}

const Structure::Impl::DefaultBlock* Structure::Impl::makeDefaultBlock(std::uint64_t size) {
    if (const DefaultBlock* block = defaultBlock) return block;
    if (size == 0) return nullptr;
    auto block = std::make_unique<const DefaultBlock>(size);
    const DefaultBlock* expected = nullptr;
    if (!block->bytes) return nullptr;
    return defaultBlock.compare_exchange_strong(expected, block.get()) ? block.release() : expected;
}

void Structure::Impl::dropDefaultBlock() { delete defaultBlock.exchange(nullptr); }

const RefPtr<Layout>& Layout::presentOf(const Structure& structure) {
    return structure.fImpl->layout;
}

const Layout& Layout::of(const Structure& structure) { return *presentOf(structure); }

Structure::Structure() : Structure(static_cast<const char*>(nullptr)) {}

Structure::Structure(const char* name) : fImpl(new Impl(name)) {}

// Makes an empty structure and assigns to it, because a copy takes two ticks of the checkpoint.
Structure::Structure(const Structure& other)

    : RefCounted(), Checkpointed(), Counted(), fImpl(new Impl(nullptr)) {
    *this = other;
}

Structure::~Structure() { fImpl->isDeleting = true; }

Structure* Structure::create() { return new Structure; }

Structure& Structure::operator=(const Structure& other) {
    if (this == &other) return *this;
    RefPtr<Layout> layout(new Layout(*other.fImpl->layout));
    std::string newName = other.fImpl->name;
    objectChanged();
    fImpl->isDeleting = other.fImpl->isDeleting;
    fImpl->layout = std::move(layout);
    fImpl->name.swap(newName);
    if (fImpl->registrations != 0) StructureRegistry::noteRename(*this, newName);
    fImpl->dropDefaultBlock();
    const Impl::DefaultBlock* block = other.fImpl->defaultBlock;
    if (block) fImpl->makeDefaultBlock(block->size);
    return *this;
}

bool Structure::operator==(const Structure& other) const {
    if (this == &other) return true;
    const Layout& mine = *fImpl->layout;
    const Layout& theirs = *other.fImpl->layout;
    return fImpl->name == other.fImpl->name && mine.totalSize() == theirs.totalSize() &&
           mine.members() == theirs.members();
}

void Structure::setName(const char* name) {
    objectChanged();
    std::string newName =
        name ? name : kDefaultName;  // copied first, as `name` may point into ours
    fImpl->name.swap(newName);
    if (fImpl->registrations != 0) StructureRegistry::noteRename(*this, newName);
}

const char* Structure::name() const { return fImpl->name.c_str(); }

bool Structure::addMember(Member::eDataType type, unsigned int length, const char* name) {
    if (fImpl->layout->problemOfAdding(type, length, name) != Layout::AddProblem::kNone)
        return false;
    fImpl->editableLayout().add(type, length, name);
    objectChanged();
    return true;
}

unsigned int Structure::memberCount() const { return fImpl->layout->memberCount(); }
unsigned long long Structure::totalSize() const { return fImpl->layout->totalSize(); }
bool Structure::isDeleting() const { return fImpl->isDeleting; }

const Member* Structure::member(TextArgument name) const {
    return memberNamed(*fImpl->layout, name.view());
}

const Member* Structure::member(unsigned int position) const {
    return position < memberCount() ? &fImpl->layout->member(position) : nullptr;
}

StructureIterator Structure::begin() const {
    return {*this, empty() ? StructureIterator::kEnd : StructureIterator::kBegin};
}

StructureIterator Structure::end() const { return {*this, StructureIterator::kEnd}; }

bool Structure::fillWithDefaultChunk(char* chunk) const {
    fImpl->layout->fillWithDefault(chunk);
    return true;
}

bool Structure::fillWithDuplicateChunk(char* destination, const char* source) const {
    return fImpl->layout->fillWithDuplicate(destination, source);
}

char* Structure::duplicateChunk(const char* source) const {
    return fImpl->layout->duplicate(source);
}

bool Structure::destroyChunk(char* chunk) const {
    if (chunk) fImpl->layout->destroyStrings(chunk);
    return true;
}

const char* Structure::defaultData() const {
    const Impl::DefaultBlock* block = fImpl->makeDefaultBlock(totalSize());
    return block ? block->bytes : nullptr;
}

char* Structure::allocateDefaultChunk() const {
    // The default block may be smaller than the present members need.
    return defaultData() ? fImpl->layout->allocate() : nullptr;
}

bool Structure::chunkIsDefault(const char* chunk) const { return fImpl->layout->isDefault(chunk); }

bool Structure::chunkMemberIsDefault(const char* chunk, const char* memberName) const {
    return memberName ? fImpl->layout->isDefault(chunk, memberName) : chunkIsDefault(chunk);
}

const std::set<Structure*>& Structure::allStructures() {
    return StructureRegistry::current().all();
}

bool Structure::registerStructure(Structure& structure) {
    return StructureRegistry::current().add(structure);
}

bool Structure::deregisterStructure(Structure& structure) {
    return StructureRegistry::current().remove(structure);
}

Structure* Structure::structureByName(const char* name) {
    return name ? StructureRegistry::current().find(name) : nullptr;
}

void Structure::deleteAllStructures() { StructureRegistry::current().clear(); }

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::Structure>;
