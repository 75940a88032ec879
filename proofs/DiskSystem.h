// The library's way to the model of a disk, on which calls fail and syncs are left out.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include "DiskModel.h"
#include "files/FileAccess.h"

namespace orbo::Proofs {

class DiskSystem : public Files::FileSystem {
  public:
    explicit DiskSystem(Disk onDisk) : disk(std::move(onDisk)) {}

    Disk disk;
    /// Called after each change and each sync.
    std::function<void()> onChange = [] {};
    /// What is going on, for the names of syncs.
    std::string phase = "recovery";
    /// A sync of this name says that it was done, and is not.
    std::string omitted;
    /// The names of all syncs so far.
    std::set<std::string> syncs;
    /// The change or sync, from 0, that fails; a write leaves half behind.
    int failing = -1;
    bool takesWrites = true;
    bool takesRemovals = true;

    std::string resolve(const std::string& name, std::error_code& error) override {
        const bool isThere = disk.has(name) || name == "/";
        return outcome(isThere, error) ? name : std::string();
    }
    std::unique_ptr<Files::File> open(const std::string& path, Mode mode,
                                      std::error_code& error) override {
        const bool opens = disk.has(path) && (takesWrites || mode == Mode::kRead);
        return outcome(opens, error) ? openFile(path) : nullptr;
    }
    std::unique_ptr<Files::File> create(const std::string& path, const Files::FileAccess&,
                                        std::error_code& error) override {
        if (!outcome(!fails() && !disk.has(path), error)) return nullptr;
        disk.inodes.emplace_back(std::string(), disk.sector);
        change({{}, path, disk.inodes.size() - 1}, "a creation");
        return openFile(path);
    }
    std::optional<Files::FileStatus> status(const std::string& path,
                                            std::error_code& error) override {
        error.clear();
        if (!disk.has(path)) return std::nullopt;
        return statusOf(disk.names.at(path));
    }
    bool remove(const std::string& path, std::error_code& error) override {
        if (!outcome(!fails() && takesRemovals && disk.has(path), error)) return false;
        return change({path, {}, 0}, "a removal");
    }
    bool rename(const std::string& from, const std::string& to, std::error_code& error) override {
        if (!outcome(!fails() && disk.has(from), error)) return false;
        return change({from, to, disk.names.at(from)}, "a renaming");
    }
    bool syncFolderOf(const std::string&, std::error_code& error) override {
        const bool done = !fails();
        // With no change it would do nothing.
        const bool isNeeded = !disk.changes.empty();
        if (isNeeded && !isOmitted("folder after " + fLastNameChange) && done) disk.syncNames();
        onChange();
        return outcome(done, error);
    }
    std::uint64_t user() override { return 1; }

  private:
    class OpenFile : public Files::File {
      public:
        OpenFile(DiskSystem& system, std::size_t number, bool isJournal)
            : fSystem(system), fNumber(number), fIsJournal(isJournal) {}

        std::optional<Files::FileStatus> status() override { return fSystem.statusOf(fNumber); }
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
            const bool done = !fSystem.fails();
            const std::string_view bytes(from, done ? count : count / 2);
            // The disk may have it before the rest comes.
            const std::size_t first = bytes.size() / 3;
            if (first > 0) inode().write(fPosition, bytes.substr(0, first));
            inode().write(fPosition + first, bytes.substr(first));
            fPosition += count;
            return finish(done);
        }
        bool truncate(std::uint64_t length) override {
            if (fSystem.fails()) return outcome(false, fError);
            inode().truncate(static_cast<std::size_t>(length));
            return finish(true);
        }
        bool sync() override {
            const bool done = !fSystem.fails();
            const char* journal = inode().now().empty() ? "emptied journal" : "journal";
            if (!fSystem.isOmitted(fIsJournal ? journal : "file")) {
                done ? inode().sync() : inode().failToSync();
            }
            return finish(done);
        }
        bool reserve(std::uint64_t, std::uint64_t) override { return true; }
        LockResult lock(Lock) override { return LockResult::kLocked; }
        void unlock() override {}

      private:
        Inode& inode() { return fSystem.disk.inodes[fNumber]; }
        bool finish(bool done) {
            fSystem.onChange();
            return done || outcome(false, fError);
        }

        DiskSystem& fSystem;
        std::size_t fNumber;
        bool fIsJournal;
        std::size_t fPosition = 0;
    };

    static bool outcome(bool success, std::error_code& error) {
        error = success ? std::error_code() : std::make_error_code(std::errc::io_error);
        return success;
    }
    std::unique_ptr<Files::File> openFile(const std::string& path) {
        const bool isJournal = path.find("-journal") != std::string::npos;
        return std::make_unique<OpenFile>(*this, disk.names.at(path), isJournal);
    }
    [[nodiscard]] Files::FileStatus statusOf(std::size_t inode) const {
        Files::FileStatus status;
        status.inode = inode + 1;
        status.owner = 1;
        status.permissions = 0644;
        status.length = disk.inodes[inode].now().size();
        status.modified = disk.inodes[inode].changes();
        return status;
    }
    bool change(const Disk::NameChange& change, const char* name) {
        disk.change(change);
        fLastNameChange = name;
        onChange();
        return true;
    }
    bool fails() { return fChanges++ == failing; }
    bool isOmitted(const std::string& sync) {
        const bool hasFailed = phase == "save" && failing >= 0 && fChanges > failing + 1;
        const std::string name = phase + (hasFailed ? " after a failure: " : ": ") + sync;
        syncs.insert(name);
        return name == omitted;
    }

    std::string fLastNameChange;
    int fChanges = 0;
};

}  // namespace orbo::Proofs
