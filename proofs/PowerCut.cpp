// Cuts the power at every change of saves and recoveries, and looks at what is left.
// SPDX-License-Identifier: Apache-2.0
#include <data/Accessor.h>
#include <data/Structure.h>
#include <debug/RefPtr.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "DiskSystem.h"
#include "files/FileRewrite.h"
#include "files/journal/MovedRecovery.h"

namespace orbo::Proofs {
namespace {

using Files::FileRewrite;
using Files::LockedFile;
using Replacement = Files::FileSystem::Replacement;
using Step = FileRewrite::Step;
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
    /// Twice what a disk writes at once: a sector may be torn in the middle.
    std::size_t sector = 1024;
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
    std::size_t states = 0, moments = 0, moved = 0;
    std::size_t mixed = 0, lost = 0, pending = 0, other = 0;
    std::set<std::string> syncs;

    [[nodiscard]] std::size_t wrong() const { return mixed + lost + pending + other; }
};

const std::string kOther = "/other";
const std::string kElsewhere = "/elsewhere";
const std::string kLeftAlone = "left alone";
const std::string kNotOpened = "not opened";

std::string open(const std::string& path, Use use) {
    const auto opening = LockedFile::open(path, use, {});
    if (!opening.file) return kNotOpened;
    Files::File& file = opening.file->file();
    std::string bytes(static_cast<std::size_t>(file.size().value_or(0)), '\0');
    return Files::readExactlyAt(file, 0, bytes.data(), bytes.size()) ? bytes : "unreadable";
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
                fChooser.forAll([&] { check(moment, moment.disk.afterCut(fChooser), 0); });
            } else {
                for (std::size_t i = 0; i < fMost; ++i) checkOne(moment, 2);
            }
        }
    }
    [[nodiscard]] const Tally& tally() const { return fTally; }

  private:
    DiskSystem systemOn(const Disk& disk) const {
        DiskSystem system(disk);
        system.omitted = fOmitted;
        system.takesRemovals = fTakesRemovals;
        return system;
    }

    std::vector<Moment> record(const Scenario& scenario) {
        Disk disk;
        disk.sector = scenario.sector;
        disk.add(fPath, scenario.content);
        disk.add(kOther, kLeftAlone);
        DiskSystem system = systemOn(disk);
        system.failing = scenario.failing;
        const Replacement replaced(system);
        std::vector<Moment> moments;
        system.onChange = [&] { moments.push_back({system.disk, {}, false}); };
        for (const auto& save : scenario.saves) {
            const std::string before = system.disk.content(fPath);
            const std::size_t first = moments.size();
            const auto [result, expected] = save(system);
            moments.push_back({system.disk, {}, result == Result::kNew});
            for (std::size_t i = first; i < moments.size(); ++i) {
                moments[i].allowed = {before, expected};
            }
            // Nothing failed, so it must have worked.
            if (scenario.failing < 0 && result != Result::kNew) ++fTally.other;
            if (result == Result::kEither) continue;
            moments.back().allowed = {result == Result::kNew ? expected : before};
            judge(moments.back(), system.disk.content(fPath));
        }
        fTally.syncs.merge(system.syncs);
        return moments;
    }

    void checkOne(const Moment& moment, int cutsToCome) {
        fChooser.lean();
        check(moment, moment.disk.afterCut(fChooser), cutsToCome);
    }

    void check(const Moment& moment, const Disk& disk, int cutsToCome) {
        ++fTally.states;
        if (fTakesRemovals && fChooser.anyBelow(4) == 0) checkElsewhere(moment, disk);
        DiskSystem system = systemOn(disk);
        const Replacement replaced(system);
        if (moment.isFinished && isPending()) ++fTally.pending;

        std::optional<Disk> during;
        std::size_t changes = 0;
        system.onChange = [&] {
            ++changes;
            if (cutsToCome > 0 && fChooser.anyBelow(changes) == 0) during = system.disk;
        };
        const std::size_t who = fChooser.anyBelow(4);
        const std::string content = recover(system, who);
        judge(moment, content);
        checkFolder(system.disk);
        fTally.syncs.merge(system.syncs);
        system.onChange = [] {};
        if (cutsToCome > 0) {
            const bool isOver = !during || fChooser.anyBelow(3) == 0;
            checkOne(isOver ? Moment{system.disk, {content}, who != 1}
                            : Moment{std::move(*during), moment.allowed, false},
                     cutsToCome - 1);
        } else if (fTakesRemovals && fChooser.anyBelow(8) == 0 && !canSave(system)) {
            ++fTally.other;
        }
    }

    /// The file is moved before anybody opens it, with its journal or without.
    void checkElsewhere(const Moment& moment, const Disk& disk) {
        ++fTally.moved;
        DiskSystem system = systemOn(disk);
        const Replacement replaced(system);
        const std::string journal = Files::Journal::pathFor(fPath);
        const bool takesJournal = fChooser.anyBelow(2) == 0;
        system.disk.move(fPath, kElsewhere);
        if (takesJournal) system.disk.move(journal, Files::Journal::pathFor(kElsewhere));
        if (!takesJournal) Files::MovedRecovery::run(fPath, kElsewhere, {});
        judge(moment, open(kElsewhere, Use::kWrite));
    }

    [[nodiscard]] bool isPending() const {
        const auto verdict = LockedFile::inspect(fPath, {}).verdict;
        return verdict != Verdict::kNothing && verdict != Verdict::kNotBegun;
    }

    /// What the next one to open the file sees. Ahead of it there may be one that cannot write, or
    /// one whose calls fail.
    std::string recover(DiskSystem& system, std::size_t who) {
        const Use use = who % 2 == 0 ? Use::kRead : Use::kWrite;
        system.takesWrites = who != 0;
        if (who == 1) system.failing = static_cast<int>(fChooser.anyBelow(8));
        const std::string seen = who < 2 ? open(fPath, use) : kNotOpened;
        system.takesWrites = true;
        system.failing = -1;
        std::string content = open(fPath, use);
        if (seen != kNotOpened && seen != content) ++fTally.other;
        return content;
    }

    void judge(const Moment& moment, const std::string& content) {
        if (moment.allowed.count(content) > 0) return;
        ++(moment.allowed.size() == 1 ? fTally.lost : fTally.mixed);
    }

    // Journals that were damaged lie beside the file; one that was never begun may, too.
    void checkFolder(const Disk& disk) {
        const std::string journal = Files::Journal::pathFor(fPath);
        for (const auto& [name, inode] : disk.names) {
            const bool isJournal = name.compare(0, journal.size(), journal) == 0;
            if (name != fPath && name != kOther && !isJournal) ++fTally.other;
        }
        if (!disk.has(kOther) || disk.content(kOther) != kLeftAlone) ++fTally.other;
    }

    [[nodiscard]] bool canSave(DiskSystem& system) const {
        const std::string before = system.disk.content(fPath);
        const auto opening = LockedFile::open(fPath, Use::kWrite, {});
        return opening.file &&
               FileRewrite(*opening.file, {{0, before, {kOther}}}, true).run().failed ==
                   Step::kDone &&
               system.disk.content(fPath) == kOther;
    }

    std::size_t fMost;
    std::string fOmitted;
    std::string fPath;
    bool fTakesRemovals = true;
    Chooser fChooser;
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
constexpr std::size_t kNumber = 640, kNumberSize = 512, kTail = 2560;

Saved rewrite(DiskSystem& system, std::size_t size, char first) {
    const std::string before = system.disk.content("/scene");
    const std::string oldNumber = before.substr(kNumber, kNumberSize);
    const std::string oldTail = before.substr(kTail);
    const std::string number = text(kNumberSize, first);
    const std::string tail = text(size, first);
    const std::string after = std::string(before, 0, kTail).replace(kNumber, kNumberSize, number);
    const auto opening = LockedFile::open("/scene", Use::kWrite, {});
    if (!opening.file) return {Result::kOld, after + tail};
    const std::string_view half = std::string_view(tail).substr(0, size / 2);
    const std::string_view rest = std::string_view(tail).substr(size / 2);
    FileRewrite rewrite(*opening.file,
                        {{kNumber, oldNumber, {number}}, {kTail, oldTail, {half, rest}}}, true);
    system.phase = "save";
    const auto outcome = rewrite.run();
    if (outcome.failed == Step::kDone) return {Result::kNew, after + tail};
    // It may hold the new bytes, but perhaps a journal says so as well.
    const bool isOld = outcome.restored && !outcome.holdsNew;
    return {isOld ? Result::kOld : Result::kEither, after + tail};
}

void runPlainScenarios(Proof& proof) {
    // The sizes of the tail: first block, larger, same size, smaller, last block removed.
    const std::vector<std::size_t> sizes = {0, 1920, 4800, 4800, 570, 0};
    for (std::size_t i = 0; i + 1 < sizes.size(); ++i) {
        const auto to = [&](std::size_t at, char first) {
            return [size = sizes[at % sizes.size()], first](DiskSystem& system) {
                return rewrite(system, size, first);
            };
        };
        const std::string content = text(kTail, 'a') + text(sizes[i], 'h');
        proof.run({"/scene", content, 1024, {to(i + 1, 'o'), to(i + 2, 'A')}});
        Scenario single = {"/scene", content, 4096, {to(i + 1, 'o')}};
        proof.run(single);
        single.takesRemovals = false;
        proof.run(single);
        single.takesRemovals = true;
        for (single.failing = 0; single.failing < 16; ++single.failing) proof.run(single);
    }
}

/// Gives the node "n" so many elements; none means no node.
Saved edit(DiskSystem& system, Data::Accessor& accessor, const std::string& path, int elements,
           int value) {
    const RefPtr<Data::Structure> structure{Data::Structure::create()};
    structure->setName("A");
    structure->addMember(Data::Member::kInt32, 1, "x");
    std::string errors;
    system.phase = "recovery";
    if (!accessor.read(path, errors)) return {Result::kOld, errors};
    auto& nodes = accessor.associations();
    nodes.erase("n");
    auto structures = accessor.structures();
    if (elements > 0) structures.insert(structure.get());
    Data::Stream stream(*structure, "s");
    for (int i = 0; i < elements; ++i) {
        Data::Handle handle(*structure);
        *handle.asInt32() = value + i;
        stream.setElement(i, handle);
    }
    if (elements > 0) nodes["n"].channel("c").setDataStream(stream);
    accessor.setStructures(structures);
    system.phase = "save";
    if (!accessor.write(errors)) return {Result::kOld, errors};
    return {Result::kNew, system.disk.content(path)};
}

void runScene(Proof& proof, const std::string& name) {
    std::ostringstream content;
    content << std::ifstream(METADATA_SCENES_DIR + name, std::ios::binary).rdbuf();
    const auto accessor = Data::Accessor::accessorByExtension(name);
    accessor->setWritePolicy(Data::WritePolicy::careful());
    Scenario scenario = {name, content.str(), 1024, {}};
    for (const auto& [elements, value] : std::vector<std::pair<int, int>>{
             {40, 1000}, {200, 1000}, {200, 2000}, {3, 2000}, {0, 0}}) {
        scenario.saves.push_back([&, elements = elements, value = value](DiskSystem& system) {
            return edit(system, *accessor, name, elements, value);
        });
    }
    proof.run(scenario);
}

Tally prove(std::size_t most, const std::string& omitted) {
    Proof proof(most, omitted);
    runPlainScenarios(proof);
    for (const char* name : {"/bare.kx", "/bare.ky"}) runScene(proof, name);
    return proof.tally();
}

int run(std::size_t most) {
    const Tally tally = prove(most, "");
    std::printf(
        "%zu states after %zu cuts, and %zu of them moved: %zu mixed files, %zu lost saves, %zu "
        "pending journals, %zu otherwise wrong\n",
        tally.states, tally.moments, tally.moved, tally.mixed, tally.lost, tally.pending,
        tally.other);
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
