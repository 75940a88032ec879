// Cuts the power at every change of saves and recoveries, and looks at what is left.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "DiskModel.h"
#include "files/FileRewrite.h"

namespace orbo::Proofs {
namespace {

using Files::FileRewrite;
using Files::FileSystem;
using Files::LockedFile;
using Use = LockedFile::Use;
using Verdict = Files::JournalRecovery::Verdict;

enum class Result { kNew, kOld, kEither };

struct Saved {
    Result result;
    std::string expected;  // the new content
};

/// Some saves of one file, one after the other.
struct Scenario {
    std::string path;
    std::string content;
    std::size_t sector = 16;
    std::vector<std::function<Saved(DiskSystem&)>> saves;
    int failing = -1;
    bool takesRemovals = true;
};

/// A moment, and what the file may be once the power is back.
struct Moment {
    Disk disk;
    std::set<std::string> allowed;
    bool isFinished;  // the last save or recovery was done, and said so
};

struct Tally {
    std::size_t states = 0, moments = 0;
    std::size_t mixed = 0, lost = 0, pending = 0, other = 0;
    std::set<std::string> syncs;

    [[nodiscard]] std::size_t wrong() const { return mixed + lost + pending + other; }
};

std::string journalOf(const std::string& path) { return Files::Journal::pathFor(path); }

std::string bytesOf(LockedFile& file) {
    std::string bytes(static_cast<std::size_t>(file.file().size().value_or(0)), '\0');
    return Files::readExactlyAt(file.file(), 0, bytes.data(), bytes.size()) ? bytes : "unreadable";
}

class Proof {
  public:
    /// Sees all states of a cut that has no more than `most`, else `most` of them.
    Proof(std::size_t most, std::string omitted) : fMost(most), fOmitted(std::move(omitted)) {}

    void run(const Scenario& scenario) {
        fPath = scenario.path;
        fTakesRemovals = scenario.takesRemovals;
        for (const Moment& moment : record(scenario)) {
            ++fTally.moments;
            if (moment.disk.states() <= static_cast<double>(fMost)) {
                fChooser.startAll();
                do {
                    check(moment, moment.disk.afterCut(fChooser), 0);
                } while (fChooser.next());
                continue;
            }
            for (std::size_t i = 0; i < fMost; ++i) {
                fChooser.startRandom();
                check(moment, moment.disk.afterCut(fChooser), 2);
            }
        }
    }
    [[nodiscard]] const Tally& tally() const { return fTally; }

  private:
    std::vector<Moment> record(const Scenario& scenario) {
        Disk disk;
        disk.sector = scenario.sector;
        disk.add(fPath, scenario.content);
        disk.add(kOther, "left alone");
        DiskSystem system(disk);
        system.omitted = fOmitted;
        system.failing = scenario.failing;
        system.takesRemovals = scenario.takesRemovals;
        const FileSystem::Replacement replaced(system);
        std::vector<Moment> moments;
        system.onChange = [&] { moments.push_back({system.disk(), {}, false}); };
        for (const auto& save : scenario.saves) {
            const std::string before = system.disk().content(fPath);
            const std::size_t first = moments.size();
            const auto [result, expected] = save(system);
            for (std::size_t i = first; i < moments.size(); ++i) {
                moments[i].allowed = {before, expected};
            }
            moments.push_back({system.disk(), {before, expected}, result == Result::kNew});
            // Nothing failed, so it must have worked.
            if (scenario.failing < 0 && result != Result::kNew) ++fTally.other;
            if (result == Result::kEither) continue;
            moments.back().allowed = {result == Result::kNew ? expected : before};
            judge(moments.back(), system.disk().content(fPath));
        }
        fTally.syncs.merge(system.syncs);
        return moments;
    }

    void check(const Moment& moment, const Disk& disk, int cutsToCome) {
        ++fTally.states;
        DiskSystem system(disk);
        system.phase = "recovery";
        system.omitted = fOmitted;
        system.takesRemovals = fTakesRemovals;
        const FileSystem::Replacement replaced(system);
        if (moment.isFinished && isPending()) ++fTally.pending;

        std::optional<Disk> during;
        std::size_t changes = 0;
        system.onChange = [&] {
            ++changes;
            if (cutsToCome > 0 && fChooser.anyBelow(changes) == 0) during = system.disk();
        };
        const std::size_t who = fChooser.anyBelow(4);
        const std::string content = recover(system, who);
        judge(moment, content);
        checkFolder(system.disk());
        fTally.syncs.merge(system.syncs);
        system.onChange = [] {};
        if (cutsToCome > 0) {
            const bool isOver = !during || fChooser.anyBelow(3) == 0;
            const Moment next = isOver ? Moment{system.disk(), {content}, who != 1}
                                       : Moment{std::move(*during), moment.allowed, false};
            fChooser.startRandom();
            check(next, next.disk.afterCut(fChooser), cutsToCome - 1);
        } else if (fTakesRemovals && fChooser.anyBelow(8) == 0 && !save(system)) {
            ++fTally.other;
        }
    }

    [[nodiscard]] bool isPending() const {
        const auto verdict = LockedFile::inspect(fPath, {}).verdict;
        return verdict != Verdict::kNothing && verdict != Verdict::kNotBegun;
    }

    /// What the next one to open the file sees. Ahead of it there may be one that cannot write, or
    /// one whose calls fail.
    std::string recover(DiskSystem& system, std::size_t who) {
        const Use use = who % 2 == 0 ? Use::kRead : Use::kWrite;
        std::string seen = kNotOpened;
        system.takesWrites = who != 0;
        if (who == 1) system.failing = static_cast<int>(fChooser.anyBelow(8));
        if (who < 2) seen = open(use);
        system.takesWrites = true;
        system.failing = -1;
        const std::string content = open(use);
        if (seen != kNotOpened && seen != content) ++fTally.other;
        return content;
    }

    std::string open(Use use) const {
        const auto opening = LockedFile::open(fPath, use, {});
        return opening.file ? bytesOf(*opening.file) : kNotOpened;
    }

    void judge(const Moment& moment, const std::string& content) {
        if (moment.allowed.count(content) > 0) return;
        ++(moment.allowed.size() == 1 ? fTally.lost : fTally.mixed);
    }

    // Journals that were damaged lie beside the file; one that was never begun may, too.
    void checkFolder(const Disk& disk) {
        const std::string journal = journalOf(fPath);
        for (const auto& [name, inode] : disk.names) {
            const bool isJournal = name.compare(0, journal.size(), journal) == 0;
            if (name != fPath && name != kOther && !isJournal) ++fTally.other;
        }
        if (!disk.has(kOther) || disk.content(kOther) != "left alone") ++fTally.other;
    }

    bool save(DiskSystem& system) const {
        const std::string before = system.disk().content(fPath);
        const auto opening = LockedFile::open(fPath, Use::kWrite, {});
        if (!opening.file) return false;
        FileRewrite rewrite(*opening.file, {{0, before, {"something else"}}}, true);
        return rewrite.run().failed == FileRewrite::Step::kDone &&
               system.disk().content(fPath) == "something else";
    }

    const std::string kOther = "/other";
    const std::string kNotOpened = "not opened";
    std::size_t fMost;
    std::string fOmitted;
    std::string fPath;
    bool fTakesRemovals = true;
    Chooser fChooser{1};
    Tally fTally;
};

std::string text(std::size_t size, char first) {
    std::string bytes;
    // Zeros, too: they are what a disk has where nothing was written.
    for (std::size_t i = 0; i < size; ++i) {
        bytes += i % 23 == 11 ? '\0' : static_cast<char>(first + i % 7);
    }
    return bytes;
}

/// A number near the beginning, and all from `kTail` on.
constexpr std::size_t kNumber = 10;
constexpr std::size_t kTail = 40;

std::function<Saved(DiskSystem&)> rewriting(std::size_t size, char first) {
    return [size, first](DiskSystem& system) -> Saved {
        const std::string before = system.disk().content("/scene");
        const std::string number = text(8, first);
        const std::string tail = text(size, first);
        const std::string after = before.substr(0, kNumber) + number +
                                  before.substr(kNumber + 8, kTail - kNumber - 8) + tail;
        const auto opening = LockedFile::open("/scene", Use::kWrite, {});
        if (!opening.file) return {Result::kOld, after};
        const std::string oldNumber = before.substr(kNumber, 8);
        const std::string oldTail = before.substr(kTail);
        const std::string_view tailView = tail;
        FileRewrite rewrite(
            *opening.file,
            {{kNumber, oldNumber, {number}},
             {kTail, oldTail, {tailView.substr(0, size / 2), tailView.substr(size / 2)}}},
            true);
        system.phase = "save";
        const auto outcome = rewrite.run();
        if (outcome.failed == FileRewrite::Step::kDone) return {Result::kNew, after};
        // It holds the new bytes, but perhaps a journal says so as well.
        if (outcome.holdsNew) return {Result::kEither, after};
        return {outcome.restored ? Result::kOld : Result::kEither, after};
    };
}

std::vector<Scenario> plainScenarios() {
    // The sizes of the tail: first block, larger, same size, smaller, last block removed.
    const std::vector<std::size_t> sizes = {0, 30, 75, 75, 9, 0};
    std::vector<Scenario> all;
    for (std::size_t i = 0; i + 1 < sizes.size(); ++i) {
        const std::string content = text(kTail, 'a') + text(sizes[i], 'h');
        const auto second = sizes[(i + 2) % sizes.size()];
        all.push_back(
            {"/scene", content, 16, {rewriting(sizes[i + 1], 'o'), rewriting(second, 'A')}});
        Scenario single = {"/scene", content, 64, {rewriting(sizes[i + 1], 'o')}};
        all.push_back(single);
        single.takesRemovals = false;
        all.push_back(single);
        single.takesRemovals = true;
        for (single.failing = 0; single.failing < 16; ++single.failing) all.push_back(single);
    }
    return all;
}

/// An accessor that gives the node "n" so many elements; none means no node.
class SceneEditor {
  public:
    explicit SceneEditor(const std::string& path)
        : fPath(path), fAccessor(Data::Accessor::accessorByExtension(path)) {
        fStructure->setName("A");
        fStructure->addMember(Data::Member::kInt32, 1, "x");
        fAccessor->setWritePolicy(Data::WritePolicy::careful());
    }

    Saved save(DiskSystem& system, int elements, int value) {
        std::string errors;
        system.phase = "recovery";
        if (!fAccessor->read(fPath, errors)) return {Result::kOld, errors};
        Data::Accessor::StructureSet structures = fAccessor->structures();
        auto& nodes = fAccessor->associations();
        nodes.erase("n");
        if (elements > 0) {
            structures.insert(fStructure.get());
            Data::Stream stream(*fStructure, "s");
            for (int i = 0; i < elements; ++i) {
                Data::Handle handle(*fStructure);
                *handle.asInt32() = value + i;
                stream.setElement(i, handle);
            }
            nodes["n"].channel("c").setDataStream(stream);
        }
        fAccessor->setStructures(structures);
        system.phase = "save";
        if (!fAccessor->write(errors)) return {Result::kOld, errors};
        return {Result::kNew, system.disk().content(fPath)};
    }

  private:
    std::string fPath;
    std::unique_ptr<Data::Accessor> fAccessor;
    RefPtr<Data::Structure> fStructure{Data::Structure::create()};
};

Scenario sceneScenario(const std::string& name) {
    std::ostringstream content;
    content << std::ifstream(METADATA_SCENES_DIR "/" + name, std::ios::binary).rdbuf();
    Scenario scenario = {"/" + name, content.str(), 512, {}};
    const auto editor = std::make_shared<SceneEditor>("/" + name);
    const std::array<std::pair<int, int>, 5> edits = {
        {{40, 1000}, {200, 1000}, {200, 2000}, {3, 2000}, {0, 0}}};
    for (const auto& [elements, value] : edits) {
        scenario.saves.push_back([editor, elements = elements, value = value](DiskSystem& system) {
            return editor->save(system, elements, value);
        });
    }
    return scenario;
}

Tally prove(std::size_t most, const std::string& omitted) {
    Proof proof(most, omitted);
    for (const Scenario& scenario : plainScenarios()) proof.run(scenario);
    for (const char* name : {"bare.kx", "bare.ky"}) proof.run(sceneScenario(name));
    return proof.tally();
}

int run(std::size_t most) {
    const Tally tally = prove(most, "");
    std::printf(
        "%zu states after %zu cuts: %zu mixed files, %zu lost saves, %zu pending "
        "journals, %zu otherwise wrong\n",
        tally.states, tally.moments, tally.mixed, tally.lost, tally.pending, tally.other);
    bool isProven = tally.wrong() == 0 && tally.states > tally.moments;
    for (const std::string& sync : tally.syncs) {
        const Tally without = prove(most / 20 + 20, sync);
        std::printf("without the sync in a %s: %zu of %zu wrong\n", sync.c_str(), without.wrong(),
                    without.states);
        isProven = isProven && without.wrong() > 0;
    }
    return isProven ? 0 : 1;
}

}  // namespace
}  // namespace orbo::Proofs

/// power-cut [MOST]: how many states of a cut are looked at.
int main(int argc, char** argv) {
    return orbo::Proofs::run(argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 4000);
}
