// The elements of a stream, each with its index, for a loop over all of them.
// SPDX-License-Identifier: Apache-2.0
#include <data/StreamElements.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "core/HandleAccess.h"
#include "streams/StreamImplDense.h"
#include "streams/StreamImplMapped.h"

namespace orbo::Data {

namespace {

constexpr const ElementPlaces::Typed* kNoTyped = nullptr;

/// All elements. They have no chunks in a structure without members, and only the first is walked
/// when `clear` has dropped the chunks.
ElementPlaces::Stretch stretchOf(const StreamImplDense& dense) {
    const bool isWalked = dense.elementAddr(0) || dense.layout().totalSize() == 0;
    ElementPlaces::Stretch all;
    all.chunk = dense.elementAddr(0);
    all.left = isWalked ? dense.elementCount() - 1 : 0;
    return all;
}

}  // namespace

/// What mapped storage holds, at one moment.
class ElementPlaces::Collector {
  public:
    explicit Collector(const StreamImplMapped& mapped) {
        addNumbered(mapped);
        fTyped.reserve(mapped.typed().size() + 1);
        for (const Typed& element : mapped.typed()) fTyped.push_back(&element);
        fTyped.push_back(nullptr);
    }

    [[nodiscard]] const std::vector<Stretch>& stretches() const { return fStretches; }
    [[nodiscard]] const std::vector<const Typed*>& typed() const { return fTyped; }

  private:
    void addNumbered(const StreamImplMapped& mapped) {
        const std::size_t step = mapped.stride();
        for (std::uint64_t next = 0; next <= ~0U;) {
            NumberedElements::Run run =
                mapped.numbered().from(static_cast<unsigned int>(next), step);
            if (run.first == run.end) return;
            next = run.first->number + std::uint64_t{run.contiguous};
            if (run.contiguous > 1) {
                add({run.first->chunk, run.first->number,
                     static_cast<unsigned int>(run.contiguous) - 1},
                    step);
            } else {
                for (; run.first != run.end; ++run.first)
                    add({run.first->chunk, run.first->number, 0}, step);
                next = std::uint64_t{run.end[-1].number} + 1;
            }
        }
    }

    /// Appends the stretch to the last one where that is possible.
    void add(const Stretch& stretch, std::size_t step) {
        if (!fStretches.empty() && stretch.chunk) {
            Stretch& last = fStretches.back();
            const std::size_t count = std::size_t{last.left} + 1;
            if (last.chunk && last.chunk + count * step == stretch.chunk &&
                last.number + count == stretch.number) {
                last.left += stretch.left + 1;
                return;
            }
        }
        fStretches.push_back(stretch);
    }

    std::vector<Stretch> fStretches;
    std::vector<const Typed*> fTyped;
};

ElementPlaces::ElementPlaces(const StreamImpl& storage)
    : fStorage(storage), fStretch(&fAll), fEnd(&fAll), fTyped(&kNoTyped), fTypedEnd(&kNoTyped) {
    storage.syncToRead();
    fBlank = HandleAccess::edit(storage.structure(), storage.layout(), nullptr);
    if (storage.elementCount() != 0 && storage.isDense()) {
        fAll = stretchOf(static_cast<const StreamImplDense&>(storage));
        fEnd = fStretch + 1;
        fStep = fAll.chunk ? static_cast<std::size_t>(storage.layout().stride()) : 0;
    } else if (storage.elementCount() != 0) {
        const auto& mapped = static_cast<const StreamImplMapped&>(storage);
        fCollector = new Collector(mapped);
        fStretch = fCollector->stretches().data();
        fEnd = fStretch + fCollector->stretches().size();
        fTyped = fCollector->typed().data();
        fTypedEnd = &fCollector->typed().back();
        fStep = mapped.stride();
    }
    fStorage.ref();
}

ElementPlaces::~ElementPlaces() {
    delete fCollector;
    fStorage.unref();
}

}  // namespace orbo::Data
