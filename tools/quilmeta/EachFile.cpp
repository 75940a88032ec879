// Works through the files of a command line, as far as signals let it.
// SPDX-License-Identifier: Apache-2.0
#include "EachFile.h"

#include "Signals.h"
#include "Trouble.h"

#include <fmt/format.h>

#include <algorithm>
#include <csignal>
#include <exception>

namespace orbo::Quilmeta {

namespace {

class Progress {
  public:
    Progress(const std::vector<std::string>& files, Purpose purpose)
        : fFiles(files), fDone(files.size(), false), fPurpose(purpose) {}

    /// Throws what the output throws, with the file counted as done if it was written.
    Outcome work(const std::function<Outcome(const std::string&)>& work) {
        Outcome worst = Outcome::kDone;
        for (size_t i = 0; i < fFiles.size() && Signals::received() == 0; ++i) {
            Outcome outcome = Outcome::kFailed;
            try {
                outcome = guarded(fFiles[i], [&] { return work(fFiles[i]); });
            } catch (const OutputTrouble&) {
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

    /// Says nothing about a reader who has seen enough of what is only shown.
    void report(const std::string& trouble) const {
        const int signal = Signals::received();
        if (fPurpose == Purpose::kReading && (signal == SIGPIPE || signal == 0)) return;
        const std::string reason =
            signal != 0 ? fmt::format("ended by {}", Signals::nameOf(signal)) : trouble;
        const auto done = std::count(fDone.begin(), fDone.end(), true);
        complain("", fmt::format("{}: {} of {} files done", reason, done, fFiles.size()));
        for (size_t i = 0; i < fFiles.size(); ++i)
            complain(fFiles[i].empty() ? "\"\"" : fFiles[i], fDone[i] ? "done" : "not done");
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
    } catch (const OutputTrouble& trouble) {
        progress.report(trouble.what());
        throw;
    }
    if (Signals::received() != 0) progress.report({});
    return outcome;
}

}  // namespace orbo::Quilmeta
