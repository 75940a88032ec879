// Does work on other threads while more of it is found.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace orbo::Data {

/// Does some work once for each item that is added, in no order. Without `start`, `finish` does all
/// of it.
template <typename Item>
class SideWork {
  public:
    /// Several threads call `work` at once, for an item each. It throws nothing.
    explicit SideWork(std::function<void(Item&)> work) : fWork(std::move(work)) {}
    SideWork(const SideWork&) = delete;
    SideWork& operator=(const SideWork&) = delete;
    /// Leaves what nobody has begun undone.
    ~SideWork() {
        endThreads([this] { fNext = fItems.size(); });
    }

    /// Items stay where they are until they are taken out behind `finish`.
    void add(Item item) {
        {
            const std::lock_guard lock(fMutex);
            fItems.push_back(std::move(item));
        }
        fChanged.notify_one();
    }
    /// Lets up to so many threads begin, if none have; fewer where the system gives no more.
    void start(unsigned threads) noexcept {
        if (isStarted()) return;
        fIsComplete = false;
        try {
            fThreads.reserve(threads);
            while (fThreads.size() < threads) fThreads.emplace_back([this] { takePart(); });
        } catch (const std::system_error&) {
        } catch (const std::bad_alloc&) {
        }
    }
    [[nodiscard]] bool isStarted() const { return !fThreads.empty(); }
    /// Helps until all is done. Returns the items, in the order in which they were added; take them
    /// out before others are added.
    std::deque<Item>& finish() {
        endThreads([] {});
        return fItems;
    }

  private:
    template <typename Prepare>
    void endThreads(const Prepare& prepare) {
        {
            const std::lock_guard lock(fMutex);
            prepare();
            fIsComplete = true;
        }
        fChanged.notify_all();
        takePart();
        for (std::thread& thread : fThreads) thread.join();
        fThreads.clear();
        fNext = 0;
    }
    void takePart() noexcept {
        while (Item* const item = next()) fWork(*item);
    }
    /// Waits for an item that nobody has begun; null when there will be none.
    [[nodiscard]] Item* next() {
        std::unique_lock lock(fMutex);
        fChanged.wait(lock, [this] { return fNext < fItems.size() || fIsComplete; });
        return fNext < fItems.size() ? &fItems[fNext++] : nullptr;
    }

    const std::function<void(Item&)> fWork;
    std::mutex fMutex;
    std::condition_variable fChanged;
    std::deque<Item> fItems;
    std::size_t fNext = 0;
    bool fIsComplete = false;
    std::vector<std::thread> fThreads;
};

}  // namespace orbo::Data
