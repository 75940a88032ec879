// A disk with a cache in front of it, and what a power cut may make of both.
// SPDX-License-Identifier: Apache-2.0
#include "DiskModel.h"

#include <algorithm>
#include <cstring>

namespace orbo::Proofs {

using Files::File;
using Files::FileStatus;

void Chooser::startAll() {
    fAll = true;
    fDigits.clear();
    fAt = 0;
}

bool Chooser::next() {
    while (!fDigits.empty() && ++fDigits.back().value == fDigits.back().count) fDigits.pop_back();
    fAt = 0;
    return !fDigits.empty();
}

void Chooser::startRandom() {
    fAll = false;
    fLeaning = anyBelow(3);
}

std::size_t Chooser::below(std::size_t count) {
    if (fAll) {
        if (fAt == fDigits.size()) fDigits.push_back({0, count});
        return fDigits[fAt++].value;
    }
    const bool leans = fLeaning > 0 && anyBelow(8) > 0;
    return leans ? (fLeaning == 1 ? 0 : count - 1) : anyBelow(count);
}

Inode::Inode(std::string content, std::size_t sector)
    : fSector(sector), fNow(content), fDurable(std::move(content)), fLengths{fNow.size()} {}

std::string Inode::sector(const std::string& bytes, std::size_t number) const {
    const std::size_t from = number * fSector;
    std::string result = from < bytes.size() ? bytes.substr(from, fSector) : std::string();
    result.resize(fSector);
    return result;
}

void Inode::touch(std::size_t from, std::size_t to) {
    for (std::size_t i = from / fSector; i * fSector < to; ++i) {
        std::vector<std::string>& versions = fVersions[i];
        if (versions.empty()) versions.push_back(sector(fDurable, i));
        versions.push_back(sector(fNow, i));
        fDirty.insert(i);
    }
    ++fChanges;
}

void Inode::setLength(std::size_t length) {
    // One that grows does so in steps.
    for (std::size_t i = fLengths.back() / fSector + 1; i * fSector < length; ++i) {
        fLengths.push_back(i * fSector);
    }
    if (fLengths.back() != length) fLengths.push_back(length);
    fLengthIsDirty = true;
}

void Inode::write(std::size_t at, const char* from, std::size_t count) {
    if (fNow.size() < at + count) {
        fNow.resize(at + count);
        setLength(at + count);
    }
    fNow.replace(at, count, from, count);
    touch(at, at + count);
}

void Inode::truncate(std::size_t length) {
    const auto [from, to] = std::minmax({fNow.size(), length});
    if (from == to) return;
    fNow.resize(length);
    touch(from, to);
    setLength(length);
}

void Inode::sync() {
    fDurable.resize(std::max(fDurable.size(), fNow.size() + fSector));
    for (const std::size_t i : fDirty) {
        if (fDurable.size() < (i + 1) * fSector) fDurable.resize((i + 1) * fSector);
        fDurable.replace(i * fSector, fSector, sector(fNow, i));
        fVersions.erase(i);
    }
    fDirty.clear();
    if (fLengthIsDirty) fLengths = {fNow.size()};
    fLengthIsDirty = false;
}

void Inode::failToSync() { fDirty.clear(); }

double Inode::states() const {
    auto count = static_cast<double>(fLengths.size());
    for (const auto& [number, versions] : fVersions) {
        const auto size = static_cast<double>(versions.size());
        count *= size * size;
    }
    return count;
}

Inode Inode::afterCut(Chooser& choose) const {
    std::string bytes = fDurable;
    for (const auto& [number, versions] : fVersions) {
        // A sector that is not torn has its head and its tail from the same version.
        const std::size_t choice = choose.below(versions.size() * versions.size());
        const std::size_t torn = fSector / 2;
        if (bytes.size() < (number + 1) * fSector) bytes.resize((number + 1) * fSector);
        bytes.replace(number * fSector, torn, versions[choice / versions.size()], 0, torn);
        bytes.replace(number * fSector + torn, fSector - torn, versions[choice % versions.size()],
                      torn, fSector - torn);
    }
    bytes.resize(fLengths[choose.below(fLengths.size())]);
    return Inode(bytes, fSector);
}

void Disk::add(const std::string& name, const std::string& content) {
    names[name] = durableNames[name] = inodes.size();
    inodes.emplace_back(content, sector);
}

namespace {

void make(const Disk::NameChange& change, std::map<std::string, std::size_t>& names) {
    names.erase(change.removed);
    if (!change.added.empty()) names[change.added] = change.inode;
}

}  // namespace

void Disk::change(NameChange change) {
    make(change, names);
    changes.push_back(std::move(change));
}

void Disk::syncNames() {
    durableNames = names;
    changes.clear();
}

const std::string& Disk::content(const std::string& name) const {
    return inodes[names.at(name)].now();
}

double Disk::states() const {
    double count = 1;
    for (std::size_t i = 0; i < changes.size(); ++i) count *= 2;
    for (const Inode& inode : inodes) count *= inode.states();
    return count;
}

Disk Disk::afterCut(Chooser& choose) const {
    std::map<std::string, std::size_t> left = durableNames;
    for (const NameChange& change : changes) {
        if (choose.below(2) == 1) make(change, left);
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

class DiskSystem::OpenFile : public File {
  public:
    OpenFile(DiskSystem& system, std::size_t inode) : fSystem(system), fNumber(inode) {}

    std::optional<FileStatus> status() override { return fSystem.statusOf(fNumber); }
    bool seek(std::uint64_t offset) override {
        fPosition = static_cast<std::size_t>(offset);
        return true;
    }
    std::optional<std::size_t> read(char* to, std::size_t count) override {
        const std::string& bytes = inode().now();
        const std::size_t got = fPosition < bytes.size() ? bytes.copy(to, count, fPosition) : 0;
        fPosition += got;
        return got;
    }
    bool write(const char* from, std::size_t count) override {
        const bool fails = fSystem.fails();
        inode().write(fPosition, from, fails ? count / 2 : count);
        fPosition += count;
        fSystem.onChange();
        return result(!fails);
    }
    bool truncate(std::uint64_t length) override {
        if (fSystem.fails()) return result(false);
        inode().truncate(static_cast<std::size_t>(length));
        fSystem.onChange();
        return true;
    }
    bool sync() override {
        const bool fails = fSystem.fails();
        const bool isOmitted = fSystem.isOmitted(nameForSyncs());
        if (!isOmitted) fails ? inode().failToSync() : inode().sync();
        fSystem.onChange();
        return result(!fails);
    }
    bool reserve(std::uint64_t, std::uint64_t) override { return true; }
    LockResult lock(Lock) override { return LockResult::kLocked; }
    void unlock() override {}

  private:
    std::string nameForSyncs() {
        if (fSystem.fJournals.count(fNumber) == 0) return "file";
        return inode().now().empty() ? "emptied journal" : "journal";
    }
    Inode& inode() { return fSystem.fDisk.inodes[fNumber]; }
    bool result(bool success) {
        if (!success) fError = std::make_error_code(std::errc::io_error);
        return success;
    }

    DiskSystem& fSystem;
    std::size_t fNumber;
    std::size_t fPosition = 0;
};

namespace {

bool isJournal(const std::string& path) { return path.find("-journal") != std::string::npos; }

bool outcome(bool success, std::error_code& error) {
    error = success ? std::error_code() : std::make_error_code(std::errc::io_error);
    return success;
}

}  // namespace

FileStatus DiskSystem::statusOf(std::size_t inode) const {
    FileStatus status;
    status.inode = inode + 1;
    status.owner = 1;
    status.permissions = 0644;
    status.length = fDisk.inodes[inode].now().size();
    status.modified = fDisk.inodes[inode].changes();
    return status;
}

bool DiskSystem::isOmitted(const std::string& sync) {
    const bool hasFailed = phase == "save" && failing >= 0 && changes > failing + 1;
    const std::string name = phase + (hasFailed ? " after a failure: " : ": ") + sync;
    syncs.insert(name);
    return name == omitted;
}

std::string DiskSystem::resolve(const std::string& name, std::error_code& error) {
    return outcome(fDisk.has(name), error) ? name : std::string();
}

std::unique_ptr<File> DiskSystem::open(const std::string& path, Mode mode, std::error_code& error) {
    if (!outcome(fDisk.has(path) && (takesWrites || mode == Mode::kRead), error)) return nullptr;
    const std::size_t inode = fDisk.names.at(path);
    if (isJournal(path)) fJournals.insert(inode);
    return std::make_unique<OpenFile>(*this, inode);
}

std::unique_ptr<File> DiskSystem::create(const std::string& path, const FileStatus&,
                                         std::error_code& error) {
    if (!outcome(!fails() && !fDisk.has(path), error)) return nullptr;
    const std::size_t inode = fDisk.inodes.size();
    fDisk.inodes.emplace_back(std::string(), fDisk.sector);
    if (isJournal(path)) fJournals.insert(inode);
    fDisk.change({{}, path, inode});
    fLastNameChange = "a creation";
    onChange();
    return std::make_unique<OpenFile>(*this, inode);
}

std::optional<FileStatus> DiskSystem::status(const std::string& path, std::error_code& error) {
    error.clear();
    if (!fDisk.has(path)) return std::nullopt;
    return statusOf(fDisk.names.at(path));
}

bool DiskSystem::remove(const std::string& path, std::error_code& error) {
    if (!outcome(!fails() && takesRemovals && fDisk.has(path), error)) return false;
    fDisk.change({path, {}, 0});
    fLastNameChange = "a removal";
    onChange();
    return true;
}

bool DiskSystem::rename(const std::string& from, const std::string& to, std::error_code& error) {
    if (!outcome(!fails() && fDisk.has(from), error)) return false;
    fDisk.change({from, to, fDisk.names.at(from)});
    fLastNameChange = "a renaming";
    onChange();
    return true;
}

bool DiskSystem::syncFolderOf(const std::string&, std::error_code& error) {
    const bool fails = this->fails();
    // With no change it would do nothing.
    const bool isNeeded = !fDisk.changes.empty();
    if (isNeeded && !isOmitted("folder after " + fLastNameChange) && !fails) fDisk.syncNames();
    onChange();
    return outcome(!fails, error);
}

}  // namespace orbo::Proofs
