// Files in the hands of several threads, and their results in order.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "process/EachFile.h"
#include "process/Progress.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace orbo::Quilmeta {

/// Threads take files from the front; the thread that calls `run` prints what they hand back. With
/// one thread that is the caller, and nothing is held back.
class FileQueue {
  public:
    FileQueue(std::vector<std::string> files, const EachFile& how, Output& output,
              const FileWork& work);
    FileQueue(const FileQueue&) = delete;
    FileQueue& operator=(const FileQueue&) = delete;
    ~FileQueue();

    /// Works until all files are done or a signal has come. Throws `OutputError` when results
    /// cannot be delivered. In both cases each file that was begun is finished or undone.
    void run(size_t threads);

    // What became of the files, once `run` has ended.
    [[nodiscard]] size_t size() const { return fFiles.size(); }
    [[nodiscard]] const std::string& file(size_t i) const { return fFiles[i]; }
    [[nodiscard]] bool isDone(size_t i) const;
    [[nodiscard]] size_t countDone() const;
    [[nodiscard]] size_t countChanged() const;
    [[nodiscard]] size_t count(Outcome outcome) const;
    [[nodiscard]] Outcome worst() const;

    /// "changed", or of a dry run "would change".
    [[nodiscard]] const char* wordsForChange() const;

  private:
    class HeldOutput;
    /// What a thread has said about a file, until it is the file's turn.
    struct Held {
        std::string text, messages;
        bool section = false;  // `text` begins a section
        bool finished = false;
        std::exception_ptr lost;  // the failure to deliver that ended the work
    };

    void runHere();
    void runOnThreads(size_t threads);
    void workOn();
    void workOn(size_t file);
    FileResult resultOf(size_t file, Output& output) const;
    std::optional<size_t> take();
    void printInOrder();
    void printNext(std::unique_lock<std::mutex>& lock);
    void passSilentFiles();
    [[nodiscard]] bool frontIsReady() const;
    void hold(size_t file, std::string_view bytes);
    [[nodiscard]] bool ended() const;

    std::vector<std::string> fFiles;
    std::vector<std::optional<FileResult>> fResults;
    const EachFile& fHow;
    Output& fOutput;
    const FileWork& fWork;
    Progress fProgress;

    std::mutex fMutex;  // guards all below, and the results
    std::condition_variable fHandedBack, fTaken;
    std::vector<Held> fHeld;
    size_t fNext = 0;      // the file to take next
    size_t fFront = 0;     // the file whose results come next
    bool fPrints = false;  // what is held of the front is on its way out
    bool fStops = false;
};

}  // namespace orbo::Quilmeta
