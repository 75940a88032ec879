// A function of the program that the library calls.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <debug/RefCounted.h>
#include <debug/RefPtr.h>

#include <type_traits>
#include <utility>

namespace orbo::Data {

template <typename Signature>
class Callback;

/// Is made of anything that can be called so: a lambda, a function, a `std::function`. It works as
/// the latter does, but costs a compiler much less than `<functional>`. Copies share the function
/// and what it has captured, which live until the last copy is gone. The library calls it on the
/// thread that reads or writes.
///
///     accessor->stopWaitingWhen([&] { return isCancelled.load(); });
///
/// A function that captures references must be taken back, by an empty callback, before they go:
///
///     accessor->stopWaitingWhen({});
template <typename Result, typename... Arguments>
class Callback<Result(Arguments...)> {
  public:
    /// Calls nothing.
    Callback() = default;
    /// Keeps a copy of the function, and throws what copying it throws. An empty `std::function`
    /// and a null pointer call nothing either.
    template <typename Function,
              typename = std::enable_if_t<!std::is_same_v<Function, Callback> &&
                                          std::is_invocable_r_v<Result, Function&, Arguments...>>>
    // NOLINTNEXTLINE(google-explicit-constructor): it is that function
    Callback(Function function) {
        if constexpr (!std::is_empty_v<Function> && std::is_constructible_v<bool, Function&>) {
            if (!static_cast<bool>(function)) return;
        }
        fTarget = RefPtr<const Target>(new Holder<Function>(std::move(function)));
    }

    /// Returns false when there is nothing to call.
    explicit operator bool() const { return static_cast<bool>(fTarget); }
    /// Calls the function and throws what it throws. Gives a default result when there is none.
    Result operator()(Arguments... arguments) const {
        return fTarget ? fTarget->call(std::forward<Arguments>(arguments)...) : Result();
    }

  private:
    struct Target : RefCounted {
        virtual Result call(Arguments... arguments) const = 0;
    };
    template <typename Function>
    struct Holder final : Target {
        explicit Holder(Function wrapped) : function(std::move(wrapped)) {}
        Result call(Arguments... arguments) const override {
            return function(std::forward<Arguments>(arguments)...);
        }
        mutable Function function;
    };

    RefPtr<const Target> fTarget;
};

}  // namespace orbo::Data
