// Files in the hands of several threads, and their results in order.
// SPDX-License-Identifier: Apache-2.0
#include "process/FileQueue.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace orbo::Quilmeta {

namespace {
/// A thread that is ahead holds back no more than about this many bytes of results.
constexpr size_t kMostHeld = 1 << 22;
/// A thread begins no file that is further than this, per thread, from the one printed next.
constexpr size_t kFurthest = 64;
}  // namespace

/// The output of one file, while others may be ahead of it.
class FileQueue::HeldOutput : public Output {
  public:
    HeldOutput(FileQueue& queue, size_t file) : fQueue(queue), fFile(file) {
        if (queue.fOutput.stopsOnSignals()) stopOnSignals();
    }
    void beginSection() override { fQueue.fHeld[fFile].section = true; }
    [[nodiscard]] bool isTerminal() const override { return fQueue.fOutput.isTerminal(); }

  protected:
    void deliver(std::string_view bytes) override { fQueue.hold(fFile, bytes); }

  private:
    FileQueue& fQueue;
    size_t fFile;
};

FileQueue::FileQueue(std::vector<std::string> files, const EachFile& how, Output& output,
                     const FileWork& work)
    : fFiles(std::move(files)),
      fResults(fFiles.size()),
      fHow(how),
      fOutput(output),
      fWork(work),
      fProgress(fFiles) {}

FileQueue::~FileQueue() = default;

bool FileQueue::ended() const { return fStops || Signals::received() != 0; }

// The bar moves while the only thread is at work on a file.
void FileQueue::run(size_t threads) {
    if (threads > 1 || fProgress.isWanted())
        runOnThreads(threads);
    else
        runHere();
}

FileResult FileQueue::resultOf(size_t file, Output& output) const {
    const std::string& name = fFiles[file];
    const FileTurn turn{file, name, output};
    const auto report = [&](const std::vector<std::string>& messages) {
        if (fHow.failed) fHow.failed(turn, messages);
    };
    FileResult result = guarded(
        name, [&] { return fWork(turn); }, report);
    if (verbosity() == Verbosity::kVerbose)
        complain(subjectOf(name), result.changed ? wordsForChange() : wordsFor(result.outcome));
    return result;
}

void FileQueue::runHere() {
    for (size_t i = 0; i < fFiles.size() && !ended(); ++i) {
        try {
            fResults[i] = resultOf(i, fOutput);
        } catch (const OutputError&) {
            // A command that writes files has written this one before it printed anything.
            if (fHow.purpose == Purpose::kWriting) fResults[i] = Outcome::kDone;
            throw;
        } catch (const Interrupted&) {
            return;
        }
        fProgress.advance(i);
    }
}

void FileQueue::runOnThreads(size_t threads) {
    fHeld.resize(fFiles.size());
    std::vector<std::thread> pool;
    try {
        while (pool.size() < threads) pool.emplace_back([this] { workOn(); });
    } catch (const std::system_error&) {
        // The system gives us no more threads.
    }
    if (pool.empty()) return runHere();
    std::exception_ptr lost;
    try {
        printInOrder();
    } catch (...) {
        lost = std::current_exception();
    }
    {
        const std::lock_guard<std::mutex> lock(fMutex);
        fStops = true;
    }
    fTaken.notify_all();
    for (std::thread& thread : pool) thread.join();
    if (lost) std::rethrow_exception(lost);
}

/// What a thread does until there is no more to do.
void FileQueue::workOn() {
    while (const std::optional<size_t> file = take()) workOn(*file);
}

std::optional<size_t> FileQueue::take() {
    std::unique_lock<std::mutex> lock(fMutex);
    const auto mayTake = [&] { return fNext >= fFiles.size() || fNext < fFront + kFurthest; };
    // A signal wakes nobody up, so look for one now and then.
    while (!ended() && !mayTake()) fTaken.wait_for(lock, std::chrono::milliseconds(100));
    if (ended() || fNext >= fFiles.size()) return {};
    return fNext++;
}

void FileQueue::workOn(size_t file) {
    Held& held = fHeld[file];
    std::optional<FileResult> result;
    std::exception_ptr lost;
    {
        const MessageCapture capture(held.messages);
        HeldOutput output(*this, file);
        try {
            result = resultOf(file, output);
            output.flush();
        } catch (const Interrupted&) {
            // The file is as it was, and counts as not done.
        } catch (...) {
            lost = std::current_exception();
        }
    }
    const std::lock_guard<std::mutex> lock(fMutex);
    fResults[file] = result;
    held.lost = lost;
    held.finished = true;
    if (!fPrints) passSilentFiles();
    if (frontIsReady()) fHandedBack.notify_one();
}

/// Files that have nothing to say need no printing thread: to wake it up for each of them would
/// take a core from those that work. A bar is moved by that thread, file by file.
void FileQueue::passSilentFiles() {
    if (fProgress.isWanted()) return;
    const auto isSilent = [](const Held& held) {
        return held.finished && !held.section && !held.lost && held.text.empty() &&
               held.messages.empty();
    };
    const size_t before = fFront;
    while (fFront < fFiles.size() && isSilent(fHeld[fFront])) ++fFront;
    if (fFront > before) fTaken.notify_all();
}

/// Whether the printing thread has something to do.
bool FileQueue::frontIsReady() const {
    if (fFront >= fFiles.size()) return true;
    return fHeld[fFront].finished || fHeld[fFront].text.size() >= kMostHeld;
}

/// Keeps what a file's work has to say. With too much of it, waits until the file is the front, and
/// what is held is printed.
void FileQueue::hold(size_t file, std::string_view bytes) {
    std::unique_lock<std::mutex> lock(fMutex);
    std::string& text = fHeld[file].text;
    text += bytes;
    if (text.size() < kMostHeld) return;
    fHandedBack.notify_one();
    while (!fStops && !text.empty()) {
        if (fOutput.stopsOnSignals()) Signals::stopIfReceived();
        fTaken.wait_for(lock, std::chrono::milliseconds(100));
    }
    if (fStops && fHow.purpose == Purpose::kReading) throw Interrupted();
}

void FileQueue::printInOrder() {
    std::unique_lock<std::mutex> lock(fMutex);
    while (fFront < fFiles.size() && (!ended() || fFront < fNext)) {
        if (frontIsReady()) {
            printNext(lock);
        } else {
            fHandedBack.wait_for(lock, std::chrono::milliseconds(100));
            fProgress.show();
        }
    }
}

/// Prints what is held of the front, and goes on to the next file when that is all.
void FileQueue::printNext(std::unique_lock<std::mutex>& lock) {
    Held& held = fHeld[fFront];
    const bool finished = held.finished;
    const std::string messages = std::exchange(held.messages, {});
    const std::string text = std::exchange(held.text, {});
    const bool section = std::exchange(held.section, false);
    const std::exception_ptr lost = held.lost;
    fPrints = true;
    lock.unlock();
    fTaken.notify_all();
    printMessages(messages);
    if (section) fOutput.beginSection();
    fOutput.write(text);
    if (!text.empty()) fOutput.flush();
    if (lost) std::rethrow_exception(lost);
    if (finished) fProgress.advance(fFront);
    lock.lock();
    fPrints = false;
    if (finished) ++fFront;
    passSilentFiles();
    fTaken.notify_all();
}

bool FileQueue::isDone(size_t i) const {
    return fResults[i] && fResults[i]->outcome != Outcome::kFailed;
}

size_t FileQueue::countDone() const {
    size_t done = 0;
    for (size_t i = 0; i < fFiles.size(); ++i) done += isDone(i) ? 1 : 0;
    return done;
}

size_t FileQueue::countChanged() const {
    return static_cast<size_t>(
        std::count_if(fResults.begin(), fResults.end(),
                      [](const auto& result) { return result && result->changed; }));
}

const char* FileQueue::wordsForChange() const {
    return fHow.purpose == Purpose::kWriting ? "changed" : "would change";
}

size_t FileQueue::count(Outcome outcome) const {
    return static_cast<size_t>(
        std::count_if(fResults.begin(), fResults.end(),
                      [&](const auto& result) { return result && result->outcome == outcome; }));
}

Outcome FileQueue::worst() const {
    Outcome worst = Outcome::kDone;
    for (const auto& result : fResults)
        if (result) worst = std::max(worst, result->outcome);
    return worst;
}

}  // namespace orbo::Quilmeta
