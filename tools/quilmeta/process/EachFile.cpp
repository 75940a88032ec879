// Works through the files of a command line until the end, a signal or a lost output.
// SPDX-License-Identifier: Apache-2.0
#include "process/EachFile.h"

#include "process/CommandError.h"
#include "process/Messages.h"
#include "process/Signals.h"

#include <data/Index.h>
#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <exception>
#include <new>

namespace orbo::Quilmeta {

namespace {

/// Remembers which files are done, for the report at an early end.
class Progress {
  public:
    Progress(const std::vector<std::string>& files, Purpose purpose)
        : fFiles(files), fDone(files.size(), false), fPurpose(purpose) {}

    Outcome work(const std::function<Outcome(const std::string&)>& work) {
        Outcome worst = Outcome::kDone;
        for (size_t i = 0; i < fFiles.size() && Signals::received() == 0; ++i) {
            Outcome outcome = Outcome::kFailed;
            try {
                outcome = guarded(fFiles[i], [&] { return work(fFiles[i]); });
            } catch (const OutputError&) {
                // A command that writes files has written this one before it printed anything.
                fDone[i] = fPurpose == Purpose::kWriting;
                throw;
            } catch (const Interrupted&) {
                break;
            }
            fDone[i] = outcome != Outcome::kFailed;
            worst = std::max(worst, outcome);
        }
        return worst;
    }

    void report(const std::string& problem) const {
        const int signal = Signals::received();
        // A reader such as `head`, who has seen enough of what we only show, needs no message.
        if (fPurpose == Purpose::kReading && (signal == SIGPIPE || signal == 0)) return;
        const std::string reason =
            signal != 0 ? fmt::format("ended by {}", Signals::nameOf(signal)) : problem;
        const auto done = std::count(fDone.begin(), fDone.end(), true);
        complain("", fmt::format("{}: {} of {} files done", reason, done, fFiles.size()));
        for (size_t i = 0; i < fFiles.size(); ++i)
            complain(subjectOf(fFiles[i]), fDone[i] ? "done" : "not done");
    }

  private:
    const std::vector<std::string>& fFiles;
    std::vector<bool> fDone;
    Purpose fPurpose;
};

}  // namespace

Outcome forEachFile(const std::vector<std::string>& files, Purpose purpose,
                    const std::function<Outcome(const std::string&)>& work) {
    Progress progress(files, purpose);
    Outcome outcome = Outcome::kFailed;
    try {
        outcome = progress.work(work);
    } catch (const OutputError& error) {
        progress.report(error.what());
        throw;
    }
    if (Signals::received() != 0) progress.report({});
    return outcome;
}

// The last handler is for index types, which throw a plain enumeration.
Outcome guarded(const std::string& file, const std::function<Outcome()>& work) {
    const std::string subject = subjectOf(file);
    try {
        return work();
    } catch (const OutputError&) {
        throw;
    } catch (const Interrupted&) {
        throw;
    } catch (const std::bad_alloc&) {
        complain(subject, "not enough memory");
    } catch (const std::exception& error) {
        complain(subject, error.what());
    } catch (Data::Index::eCreationErrors error) {
        complain(subject,
                 fmt::format("an index cannot be made (code {})", static_cast<int>(error)));
    }
    return Outcome::kFailed;
}

}  // namespace orbo::Quilmeta
