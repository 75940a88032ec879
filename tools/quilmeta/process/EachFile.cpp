// Works through the files of a command line until the end, a signal or a lost output.
// SPDX-License-Identifier: Apache-2.0
#include "process/EachFile.h"

#include "process/CommandError.h"
#include "process/FileQueue.h"
#include "process/Messages.h"
#include "process/Signals.h"
#include "process/StatusLine.h"
#include "values/Wording.h"

#include <data/Index.h>
#include <fmt/format.h>
#include <malloc.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <exception>
#include <new>
#include <set>
#include <thread>
#include <utility>

namespace orbo::Quilmeta {

namespace {

/// The files without those that came before under any name. What cannot be looked at stays: the
/// work on it reports why.
std::vector<std::string> withoutRepeats(const std::vector<std::string>& files) {
    std::set<std::pair<dev_t, ino_t>> seen;
    std::vector<std::string> kept;
    for (const std::string& file : files) {
        struct stat status {};
        if (::stat(file.c_str(), &status) != 0 || seen.emplace(status.st_dev, status.st_ino).second)
            kept.push_back(file);
    }
    return kept;
}

/// Says after an early end which files are done.
void reportEarlyEnd(const FileQueue& queue, Purpose purpose, const std::string& problem) {
    const int signal = Signals::received();
    // A reader such as `head`, who has seen enough of what we only show, needs no message.
    if (purpose == Purpose::kReading && (signal == SIGPIPE || signal == 0)) return;
    const std::string reason =
        signal != 0 ? fmt::format("ended by {}", Signals::nameOf(signal)) : problem;
    complain("", fmt::format("{}: {} of {} files done", reason, queue.countDone(), queue.size()));
    for (size_t i = 0; i < queue.size(); ++i)
        complain(subjectOf(queue.file(i)), queue.isDone(i) ? "done" : "not done");
}

/// "12 files: 3 changed, 1 failed"; only what there is.
void reportSum(const FileQueue& queue) {
    if (queue.size() < 2) return;
    std::string sum;
    const auto add = [&](size_t count, const char* what) {
        if (count > 0) sum += fmt::format("{} {} {}", sum.empty() ? ":" : ",", count, what);
    };
    add(queue.countChanged(), queue.wordsForChange());
    for (const Outcome outcome :
         {Outcome::kNothingSelected, Outcome::kFound, Outcome::kUnreadable, Outcome::kFailed})
        add(queue.count(outcome), wordsFor(outcome));
    remark(counted(queue.size(), "file") + (sum.empty() ? " done" : sum));
}

/// Lets the allocator keep for the next file what one has freed. The system would take the pages
/// back and hand out new ones for each file, which takes a tenth of the time of reading it.
void keepFreedMemory() {
#if defined(M_TRIM_THRESHOLD) && defined(M_MMAP_THRESHOLD)
    constexpr int kMostKept = 64 << 20;
    constexpr int kFromTheSystem = 32 << 20;  // blocks of this size always go back
    ::mallopt(M_TRIM_THRESHOLD, kMostKept);
    ::mallopt(M_MMAP_THRESHOLD, kFromTheSystem);
#endif
}

// The system is asked only once: the answer is in a file.
size_t processors() {
    static const size_t count = std::max(std::thread::hardware_concurrency(), 1U);
    return count;
}

size_t jobsFor(const EachFile& how) { return how.jobs > 0 ? how.jobs : processors(); }

std::atomic<size_t> threadsForOneFile{0};  // 0 outside of `forEachFile`

}  // namespace

Outcome forEachFile(const std::vector<std::string>& files, const EachFile& how, Output& output,
                    const FileWork& work) {
    FileQueue queue(how.once ? withoutRepeats(files) : files, how, output, work);
    if (queue.size() > 1) keepFreedMemory();
    try {
        const size_t threads = std::clamp<size_t>(queue.size(), 1, jobsFor(how));
        const size_t atOnce = std::min(jobsFor(how), processors());
        threadsForOneFile = std::max<size_t>(atOnce / threads, 1);
        queue.run(threads);
    } catch (const OutputError& error) {
        StatusLine::clear();
        reportEarlyEnd(queue, how.purpose, error.what());
        throw;
    }
    StatusLine::clear();
    if (Signals::received() != 0)
        reportEarlyEnd(queue, how.purpose, {});
    else
        reportSum(queue);
    return queue.worst();
}

unsigned threadsForEachFile() {
    return static_cast<unsigned>(threadsForOneFile > 0 ? threadsForOneFile.load() : processors());
}

// The last handler is for index types, which throw a plain enumeration.
FileResult guarded(const std::string& file, const std::function<FileResult()>& work,
                   const std::function<void(const std::vector<std::string>& messages)>& failed) {
    std::string subject = file;
    std::string message;
    try {
        return work();
    } catch (const OutputError&) {
        throw;
    } catch (const Interrupted&) {
        throw;
    } catch (const std::bad_alloc&) {
        message = "not enough memory";
    } catch (const FileError& error) {
        subject = error.file();
        message = error.what();
    } catch (const std::exception& error) {
        message = error.what();
    } catch (Data::Index::eCreationErrors error) {
        message = fmt::format("an index cannot be made (code {})", static_cast<int>(error));
    }
    complain(subjectOf(subject), message);
    if (!failed) return Outcome::kFailed;
    std::vector<std::string> messages = messagesIn(message);
    for (std::string& text : messages)
        if (subject != file) text.insert(0, subjectOf(subject) + ": ");
    failed(messages);
    return Outcome::kFailed;
}

}  // namespace orbo::Quilmeta
