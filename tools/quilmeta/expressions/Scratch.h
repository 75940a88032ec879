// The memory that an evaluation works with.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "expressions/Column.h"
#include "expressions/Evaluator.h"

#include <array>
#include <memory>
#include <tuple>
#include <utility>
#include <vector>

namespace orbo::Quilmeta {

/// Some lanes of a block.
struct LaneNumbers {
    size_t count = 0;
    std::array<unsigned char, kBlockSize> numbers;
};

/// Lends objects, which are used again when they are given back.
class Scratch {
  public:
    /// An object as long as the lease lives.
    template <typename Object>
    class Lease {
      public:
        explicit Lease(Scratch& scratch) : fFree(std::get<Pool<Object>>(scratch.fPools)) {
            if (fFree.empty()) fFree.push_back(std::make_unique<Object>());
            fObject = std::move(fFree.back());
            fFree.pop_back();
        }
        ~Lease() { fFree.push_back(std::move(fObject)); }
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

        Object& operator*() const { return *fObject; }
        Object* operator->() const { return fObject.get(); }
        void swap(Lease& other) { fObject.swap(other.fObject); }

      private:
        std::vector<std::unique_ptr<Object>>& fFree;
        std::unique_ptr<Object> fObject;
    };

  private:
    template <typename Object>
    using Pool = std::vector<std::unique_ptr<Object>>;

    std::tuple<Pool<Column>, Pool<Lanes>, Pool<LaneNumbers>> fPools;
};

void loadLiteral(const Literal& literal, Column& result);
/// The two numbers that an index can be compared with; unknown when the list is no such pair.
void loadPair(const Node& list, Column& result);
/// One value of a member; unknown when it is not there.
void loadMember(const FoundMember& member, size_t part, const Lanes& lanes, Column& result);

}  // namespace orbo::Quilmeta
