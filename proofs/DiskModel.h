// A disk with a cache in front of it, and what a power cut may make of both.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "files/File.h"

namespace orbo::Proofs {

/// Makes choices: random ones, or in turn every combination that there is.
class Chooser {
  public:
    explicit Chooser(std::uint64_t seed) : fRandom(seed) {}

    /// To see all combinations: start, then choose, then go on while there is a next one.
    void startAll();
    bool next();
    /// To see one at random. Some lean to the first choices or to the last ones.
    void startRandom();
    std::size_t below(std::size_t count);
    std::size_t anyBelow(std::size_t count) { return fRandom() % count; }

  private:
    struct Digit {
        std::size_t value, count;
    };
    std::mt19937_64 fRandom;
    bool fAll = false;
    std::size_t fLeaning = 0;
    std::vector<Digit> fDigits;
    std::size_t fAt = 0;
};

/// A file: what programs see, and what each of its sectors may hold after a cut. Sectors reach the
/// disk in any order, at any time, or not at all before the next sync; a length by itself.
class Inode {
  public:
    Inode(std::string content, std::size_t sector);

    [[nodiscard]] const std::string& now() const { return fNow; }
    [[nodiscard]] int changes() const { return fChanges; }
    void write(std::size_t at, const char* from, std::size_t count);
    void truncate(std::size_t length);
    void sync();
    /// The system forgets what it could not write, but for the length: a later sync says nothing
    /// about it.
    void failToSync();

    [[nodiscard]] double states() const;
    [[nodiscard]] Inode afterCut(Chooser& choose) const;

  private:
    [[nodiscard]] std::string sector(const std::string& bytes, std::size_t number) const;
    void touch(std::size_t from, std::size_t to);
    void setLength(std::size_t length);

    std::size_t fSector;
    std::string fNow;
    std::string fDurable;
    std::vector<std::size_t> fLengths;  // on the disk, then each since
    /// The same of sectors, of those that have changed since.
    std::map<std::size_t, std::vector<std::string>> fVersions;
    std::set<std::size_t> fDirty;
    bool fLengthIsDirty = false;
    int fChanges = 0;
};

/// One folder and its files. Changes of the folder are lost and kept one by one as well.
struct Disk {
    struct NameChange {
        std::string removed, added;
        std::size_t inode;
    };
    std::size_t sector = 16;
    std::vector<Inode> inodes;
    std::map<std::string, std::size_t> names;
    std::map<std::string, std::size_t> durableNames;
    std::vector<NameChange> changes;

    void add(const std::string& name, const std::string& content);
    void change(NameChange change);
    void syncNames();
    [[nodiscard]] bool has(const std::string& name) const { return names.count(name) > 0; }
    [[nodiscard]] const std::string& content(const std::string& name) const;

    /// How many there are after a cut, in which every sector may be torn in the middle, too.
    [[nodiscard]] double states() const;
    [[nodiscard]] Disk afterCut(Chooser& choose) const;
};

/// The library's way to a disk.
class DiskSystem : public Files::FileSystem {
  public:
    explicit DiskSystem(Disk disk) : fDisk(std::move(disk)) {}

    [[nodiscard]] const Disk& disk() const { return fDisk; }
    /// Called after each change and each sync.
    std::function<void()> onChange = [] {};
    /// What is going on, for the names of syncs.
    std::string phase;
    /// A sync of this name says that it was done, and is not.
    std::string omitted;
    /// The names of all syncs so far.
    std::set<std::string> syncs;
    /// The change or sync, from 0, that fails; a write leaves half behind.
    int failing = -1;
    int changes = 0;
    bool takesWrites = true;
    bool takesRemovals = true;

    std::string resolve(const std::string& name, std::error_code& error) override;
    std::unique_ptr<Files::File> open(const std::string& path, Mode mode,
                                      std::error_code& error) override;
    std::unique_ptr<Files::File> create(const std::string& path, const Files::FileStatus& like,
                                        std::error_code& error) override;
    std::optional<Files::FileStatus> status(const std::string& path,
                                            std::error_code& error) override;
    bool remove(const std::string& path, std::error_code& error) override;
    bool rename(const std::string& from, const std::string& to, std::error_code& error) override;
    bool syncFolderOf(const std::string& path, std::error_code& error) override;
    std::uint64_t user() override { return 1; }

  private:
    class OpenFile;
    [[nodiscard]] Files::FileStatus statusOf(std::size_t inode) const;
    bool fails() { return changes++ == failing; }
    bool isOmitted(const std::string& sync);

    Disk fDisk;
    std::set<std::size_t> fJournals;
    std::string fLastNameChange;
};

}  // namespace orbo::Proofs
