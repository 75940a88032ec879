// A disk with a cache in front of it, and what a power cut may make of both.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbo::Proofs {

/// Makes choices: random ones, or in turn every combination that there is.
class Chooser {
  public:
    /// Looks once for each combination of the choices made meanwhile.
    template <typename Look>
    void forAll(Look look) {
        fAll = true;
        do {
            fAt = 0;
            look();
            while (!fDigits.empty() && ++fDigits.back().value == fDigits.back().count) {
                fDigits.pop_back();
            }
        } while (!fDigits.empty());
        fAll = false;
    }
    /// Random ones lean to the first choices or to the last ones until the next call, or to none.
    void lean() { fLeaning = anyBelow(3); }
    std::size_t below(std::size_t count) {
        if (fAll) {
            if (fAt == fDigits.size()) fDigits.push_back({0, count});
            return fDigits[fAt++].value;
        }
        const bool leans = fLeaning > 0 && anyBelow(8) > 0;
        return leans ? (fLeaning == 1 ? 0 : count - 1) : anyBelow(count);
    }
    /// A random one in any case.
    std::size_t anyBelow(std::size_t count) { return fRandom() % count; }

  private:
    struct Digit {
        std::size_t value, count;
    };
    std::mt19937_64 fRandom{1};
    bool fAll = false;
    std::size_t fLeaning = 0;
    std::vector<Digit> fDigits;
    std::size_t fAt = 0;
};

/// A file: what programs see, and what each of its sectors may hold after a cut. Sectors reach the
/// disk in any order, at any time, or not at all before the next sync; a length by itself. Where a
/// length has reached the disk and no byte has, stale ones show in whole sectors.
class Inode {
  public:
    Inode(const std::string& content, std::size_t sector)
        : fSector(sector), fNow(content), fDurable(content), fLengths{content.size()} {}

    [[nodiscard]] const std::string& now() const { return fNow; }
    [[nodiscard]] int changes() const { return fChanges; }

    void write(std::size_t at, std::string_view bytes) {
        fNow.resize(std::max(fNow.size(), at + bytes.size()));
        fNow.replace(at, bytes.size(), bytes);
        changed(at, at + bytes.size());
    }
    void truncate(std::size_t length) {
        const auto [from, to] = std::minmax({fNow.size(), length});
        fNow.resize(length);
        if (from != to) changed(from, to);
    }
    void sync() {
        for (const std::size_t i : fDirty) {
            put(fDurable, i * fSector, sector(fNow, i));
            fVersions.erase(i);
        }
        fDirty.clear();
        fLengths = {fNow.size()};
    }
    /// The system forgets what it could not write, but for the length: a later sync says nothing
    /// about it.
    void failToSync() { fDirty.clear(); }

    [[nodiscard]] double states() const {
        auto count = static_cast<double>(fLengths.size());
        for (const auto& [number, versions] : fVersions) {
            count *= static_cast<double>(versions.size() * versions.size());
        }
        return count;
    }
    [[nodiscard]] Inode afterCut(Chooser& choose) const {
        std::string bytes = fDurable;
        const std::size_t torn = fSector / 2;
        for (const auto& [number, versions] : fVersions) {
            // A sector that is not torn has its head and its tail from the same version.
            const std::size_t choice = choose.below(versions.size() * versions.size());
            put(bytes, number * fSector, versions[choice / versions.size()].substr(0, torn));
            put(bytes, number * fSector + torn, versions[choice % versions.size()].substr(torn));
        }
        bytes.resize(fLengths[choose.below(fLengths.size())]);
        return {bytes, fSector};
    }

  private:
    [[nodiscard]] std::string stale() const { return std::string(fSector, '#'); }
    [[nodiscard]] std::string sector(const std::string& bytes, std::size_t number) const {
        std::string result = bytes.substr(std::min(number * fSector, bytes.size()), fSector);
        result.resize(fSector);
        return result;
    }
    static void put(std::string& bytes, std::size_t at, const std::string& piece) {
        bytes.resize(std::max(bytes.size(), at + piece.size()));
        bytes.replace(at, piece.size(), piece);
    }
    void changed(std::size_t from, std::size_t to) {
        for (std::size_t i = from / fSector; i * fSector < to; ++i) {
            std::vector<std::string>& versions = fVersions[i];
            const bool isStale = i * fSector >= fDurable.size();
            if (versions.empty()) versions.push_back(isStale ? stale() : sector(fDurable, i));
            versions.push_back(sector(fNow, i));
            fDirty.insert(i);
        }
        // A file that grows does so in steps.
        for (std::size_t i = fLengths.back() / fSector + 1; i * fSector < fNow.size(); ++i) {
            fLengths.push_back(i * fSector);
        }
        if (fLengths.back() != fNow.size()) fLengths.push_back(fNow.size());
        ++fChanges;
    }

    std::size_t fSector;
    std::string fNow;
    std::string fDurable;
    std::vector<std::size_t> fLengths;  // on the disk, then each since
    /// The same of sectors, of those that have changed since.
    std::map<std::size_t, std::vector<std::string>> fVersions;
    std::set<std::size_t> fDirty;
    int fChanges = 0;
};

/// One folder and its files. Changes of the folder are lost and kept one by one as well.
struct Disk {
    using Names = std::map<std::string, std::size_t>;
    struct NameChange {
        std::string removed, added;
        std::size_t inode;

        void applyTo(Names& names) const {
            names.erase(removed);
            if (!added.empty()) names[added] = inode;
        }
    };
    std::size_t sector = 1024;
    std::vector<Inode> inodes;
    Names names, durableNames;
    std::vector<NameChange> changes;

    void add(const std::string& name, const std::string& content) {
        names[name] = durableNames[name] = inodes.size();
        inodes.emplace_back(content, sector);
    }
    void change(const NameChange& change) {
        change.applyTo(names);
        changes.push_back(change);
    }
    void syncNames() {
        durableNames = names;
        changes.clear();
    }
    /// Does nothing unless there is a file of that name.
    void move(const std::string& from, const std::string& to) {
        if (has(from)) change({from, to, names.at(from)});
        syncNames();
    }
    [[nodiscard]] bool has(const std::string& name) const { return names.count(name) > 0; }
    [[nodiscard]] const std::string& content(const std::string& name) const {
        return inodes[names.at(name)].now();
    }

    /// How many there are after a cut, in which every sector may be torn in the middle, too.
    [[nodiscard]] double states() const {
        double count = 1;
        for (std::size_t i = 0; i < changes.size(); ++i) count *= 2;
        for (const Inode& inode : inodes) count *= inode.states();
        return count;
    }
    [[nodiscard]] Disk afterCut(Chooser& choose) const {
        Names left = durableNames;
        for (const NameChange& change : changes) {
            if (choose.below(2) == 1) change.applyTo(left);
        }
        Disk after;
        after.sector = sector;
        for (const auto& [name, inode] : left) {
            after.names[name] = after.inodes.size();
            after.inodes.push_back(inodes[inode].afterCut(choose));
        }
        after.durableNames = after.names;
        return after;
    }
};

}  // namespace orbo::Proofs
