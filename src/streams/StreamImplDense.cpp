// Storage in one block, for the numbers from 0.
// SPDX-License-Identifier: Apache-2.0

#include "streams/StreamImplDense.h"

#include <data/Stream.h>
#include <debug/Footprint.h>
#include <debug/Print.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <ostream>
#include <utility>

#include "debug/ObjectCounter.h"
#include "streams/StreamDenseIteratorImpl.h"

namespace orbo::Data {

namespace {

constexpr unsigned int kNoPosition = std::numeric_limits<unsigned int>::max();
constexpr std::uint64_t kFirstBlockBytes = 4096;

/// Returns 0 where three times the number does not fit 32 bits.
std::uint64_t timesOneAndAHalf(unsigned int number) {
    const std::uint64_t triple = std::uint64_t{number} * 3;
    return triple > kNoPosition ? 0 : triple / 2;
}

std::size_t bytes(const Layout& layout, unsigned int slots) {
    return static_cast<std::size_t>(layout.stride()) * slots;
}

/// Walks over large blocks take up to a fifth less time when the system maps them by pages of 2
/// MiB, which many systems only do when asked.
void wantLargePages([[maybe_unused]] char* block, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr std::size_t kWorthIt = std::size_t{4} << 20;
    if (size < kWorthIt) return;
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    void* first = block;
    if (!std::align(page, size - page, first, size)) return;
    ::madvise(first, size / page * page, MADV_HUGEPAGE);  // a wish, which may be refused
#endif
}

}  // namespace

StreamImplDense::StreamImplDense() = default;

StreamImplDense::StreamImplDense(const Structure& structure, const std::string& name)
    : StreamImpl(structure, name) {}

StreamImplDense::StreamImplDense(const StreamImplDense& other)
    : StreamImpl(other),
      CRTP_Debug<StreamImplDense, Debug::Print>(other),
      CRTP_Debug<StreamImplDense, Debug::Footprint>(other),
      Counted<StreamImplDense>(other),
      fAllocated(other.fAllocated) {}

StreamImplDense::~StreamImplDense() { clear(); }

std::unique_ptr<StreamImpl> StreamImplDense::clone() const {
    syncToRead();
    std::unique_ptr<StreamImplDense> copy(new StreamImplDense(*this));
    if (!copy->copyBlock(*this)) return nullptr;
    return copy;
}

bool StreamImplDense::copyBlock(const StreamImplDense& other) {
    if (other.fBlock) {
        fBlock = defaultBlock(layout(), fAllocated);
        if (!fBlock) return false;
        for (unsigned int k = 0; k < other.fCount; ++k) {
            if (!layout().fillWithDuplicate(elementAddr(k), other.elementAddr(k))) return false;
            fCount = k + 1;
        }
    }
    fCount = other.fCount;
    return true;
}

std::unique_ptr<StreamIteratorImpl> StreamImplDense::iterator(bool atBegin) const {
    return std::make_unique<StreamDenseIteratorImpl>(*this, atBegin);
}

bool StreamImplDense::hasElement(const Index& index) const { return hasElement(index.index()); }

// Like the iterator, shows only the first element when there is no block.
void StreamImplDense::visit(ElementVisitor& visitor) const {
    const bool hasChunks = fBlock || layout().totalSize() == 0;
    const unsigned int count = hasChunks ? fCount : std::min(fCount, 1U);
    for (unsigned int k = 0; k < count; ++k) visitor.visit(k, elementAddr(k));
}

char* StreamImplDense::chunkAt(const Index& index) const { return chunkOf(index.index()); }

char* StreamImplDense::chunkOf(unsigned int number) const {
    return number < fCount ? elementAddr(number) : nullptr;
}

char* StreamImplDense::elementAddr(unsigned int position) const {
    if (position >= fAllocated || !fBlock) return nullptr;
    return fBlock.get() + bytes(layout(), position);
}

Index StreamImplDense::indexOfPhysicalElement(unsigned int position) const {
    return Index(position < fCount ? position : kNoPosition);
}

// `calloc` gives the default values, and large zero blocks cost nothing until they are used.
StreamImplDense::Block StreamImplDense::defaultBlock(const Layout& layout, unsigned int slots) {
    Block block(static_cast<char*>(std::calloc(slots, static_cast<std::size_t>(layout.stride()))));
    if (block) wantLargePages(block.get(), bytes(layout, slots));
    return block;
}

bool StreamImplDense::allocate(unsigned int slots) {
    Block block = defaultBlock(layout(), slots);
    if (!block) return false;
    if (fBlock) std::memcpy(block.get(), fBlock.get(), bytes(layout(), fCount));
    noteChange();
    fBlock = std::move(block);
    fAllocated = slots;
    return true;
}

std::uint64_t StreamImplDense::grownCapacity(unsigned int position) const {
    const std::uint64_t capacity =
        fAllocated < 2 ? kFirstBlockBytes / layout().totalSize() : timesOneAndAHalf(fAllocated);
    return capacity > position ? capacity : timesOneAndAHalf(position);
}

bool StreamImplDense::ensureSpaceForElement(unsigned int position) {
    if (position == kNoPosition) return false;  // a 32-bit count could not include it
    if (layout().totalSize() == 0) return true;
    if (position < fAllocated) return fBlock || allocate(fAllocated);
    const std::uint64_t capacity = grownCapacity(position);
    return capacity > position && allocate(static_cast<unsigned int>(capacity));
}

// Also allocates sizes that the growth steps would not reach.
bool StreamImplDense::reserve(unsigned int elements) {
    if (elements == 0 || layout().totalSize() == 0) return true;
    if (elements <= fAllocated && fBlock) return true;
    return allocate(std::max(elements, fAllocated));
}

char* StreamImplDense::place(unsigned int number) {
    if (!ensureSpaceForElement(number)) return nullptr;
    char* const chunk = elementAddr(number);
    if (chunk && number < fCount) layout().reset(chunk);
    fCount = std::max(fCount, number + 1);
    return chunk;
}

bool StreamImplDense::store(Index&& index, OwnedChunk&& chunk) {
    const unsigned int position = index.index();
    if (!chunk && layout().totalSize() != 0) return false;
    if (!ensureSpaceForElement(position)) return false;
    if (chunk) replace(elementAddr(position), std::move(chunk));
    fCount = std::max(fCount, position + 1);
    return true;
}

bool StreamImplDense::removeElement(const Index& index) {
    sync();
    if (char* const chunk = chunkAt(index)) layout().reset(chunk);
    return true;
}

bool StreamImplDense::reindexElement(const Index& from, const Index& to) {
    if (!hasElement(from)) return false;
    if (from.index() == to.index()) return true;
    sync();
    if (!ensureSpaceForElement(to.index())) return false;
    if (char* const target = elementAddr(to.index())) {
        char* const source = elementAddr(from.index());
        layout().destroyStrings(target);
        std::memcpy(target, source, static_cast<std::size_t>(layout().totalSize()));
        layout().fillWithDefault(source);
    }
    fCount = std::max(fCount, to.index() + 1);
    return true;
}

bool StreamImplDense::swapElements(const Index& first, const Index& second) {
    if (!hasElement(first) || !hasElement(second)) return false;
    sync();
    char* const one = chunkAt(first);
    char* const other = chunkAt(second);
    if (one && one != other) std::swap_ranges(one, one + layout().totalSize(), other);
    return true;
}

bool StreamImplDense::setElementRange(const Index& first, const Index& last) {
    const unsigned int count = last.index() - first.index() + 1;
    if (count == fCount) return true;
    sync();
    if (count > fCount) {
        if (!ensureSpaceForElement(count)) return false;
        fCount = count;
        return true;
    }
    noteChange();
    // By contract, a range that shrinks ends one short of the count asked for.
    const unsigned int kept = count > 0 ? count - 1 : 0;
    for (unsigned int k = kept; fBlock && k < fCount; ++k) layout().reset(elementAddr(k));
    fCount = kept;
    return true;
}

bool StreamImplDense::clear() {
    if (fBlock && layout().hasStrings()) {
        for (unsigned int k = 0; k < fCount; ++k) layout().destroyStrings(elementAddr(k));
    }
    noteChange();
    fBlock.reset();
    return true;
}

void StreamImplDense::dropChunks() {
    clear();
    fCount = 0;
    fAllocated = 0;
}

bool StreamImplDense::convert(const Layout& to) {
    const LayoutConversion conversion(layout(), to);
    const bool neededNoBlock = layout().totalSize() == 0;
    const unsigned int slots = neededNoBlock ? std::max(fAllocated, fCount) : fAllocated;
    Block block;
    if (to.totalSize() != 0 && (fBlock || (neededNoBlock && fCount > 0))) {
        block = defaultBlock(to, slots);
        if (!block) return false;
    }
    if (block && fBlock) {
        for (unsigned int k = 0; k < fCount; ++k) {
            conversion.move(block.get() + bytes(to, k), elementAddr(k));
        }
    }
    clear();
    fBlock = std::move(block);
    fAllocated = slots;
    return true;
}

bool StreamImplDense::Debug(const StreamImplDense* storage, Debug::Footprint& footprint) {
    if (!storage) return true;
    const Layout& layout = storage->layout();
    footprint.addObject(storage, sizeof(StreamImplDense));
    if (!storage->fBlock) return true;
    footprint.addMember(storage->fBlock.get(), bytes(layout, storage->fAllocated));
    for (unsigned int k = 0; k < storage->fCount; ++k) {
        addStrings(layout, storage->elementAddr(k), footprint);
    }
    return true;
}

bool StreamImplDense::Debug(const StreamImplDense* storage, Debug::Print& print) {
    if (!storage) return true;
    int level = 0;
    const bool addresses = print.findFilter(Stream::kDebugHex, level);
    print.beginSection("Data Stream");
    StreamImpl::Debug(storage, print);
    if (addresses) {
        print.doIndent() << "PTR: ";
        print.skipNextIndent(true);
        print << static_cast<const void*>(storage->fBlock.get()) << '\n';
    }
    print.doIndent() << "Highest valid index = " << std::to_string(storage->fCount) << '\n';
    print.doIndent() << "Number allocated    = " << std::to_string(storage->fAllocated) << '\n';
    print.beginSection("Stream Elements");
    print.doIndent() << "Element count = " << std::to_string(storage->fCount) << '\n';
    std::size_t digits = 1;
    for (unsigned int rest = storage->fCount; rest > 10; rest /= 10) ++digits;
    for (unsigned int k = 0; k < storage->fCount; ++k) {
        storage->printElement(k, digits, addresses, print);
    }
    print.endSection();
    print.endSection();
    return true;
}

void StreamImplDense::printElement(unsigned int position, std::size_t digits, bool addresses,
                                   Debug::Print& print) const {
    std::string number = std::to_string(position);
    number.insert(0, digits - std::min(digits, number.size()), ' ');
    char* const chunk = elementAddr(position);
    print.doIndent() << '[' << number << "] ";
    if (addresses) {
        print.skipNextIndent(true);
        print << "PTR: ";
        print.skipNextIndent(true);
        print << static_cast<const void*>(chunk) << " : ";
    }
    Handle handle = handleOn(chunk);
    printMembers(handle, layout(), print);
    print.skipNextIndent(true);
    print << "\n";
}

}  // namespace orbo::Data

template class orbo::Counted<orbo::Data::StreamImplDense>;
