// Loaded ahead of the C library: makes one file-system call of a process fail, or its last one.
// SPDX-License-Identifier: Apache-2.0
//
// Only files below FAULTS_FOLDER count, and questions about users and limits. FAULTS_LOG names a
// file that gets the name of each call. FAULTS_AT is the number, from 0, of the call that is met;
// with FAULTS_LASTING all later ones are, too. FAULTS_KIND says by what: "kill" kills at entry,
// "half-kill" after half of a write, "short" does half of a read or write, "signalN" sends the
// process signal N at entry, and a number is the error that the call fails with. With
// FAULTS_NO_LOCKS there are none, with FAULTS_NO_SYNCS syncs do nothing, anywhere.
#include <dlfcn.h>
#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <mutex>
#include <random>
#include <set>
#include <string>

namespace {

enum class Met { kNothing, kFailure, kHalf };
const std::string kSignal = "signal";

template <typename Result, typename... Arguments>
Result real(const char* name, Arguments... arguments) {
    using Function = Result (*)(Arguments...);
    static_assert(sizeof(Function) == sizeof(void*), "dlsym gives functions, too");
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name))(arguments...);
}

/// Any thread may call.
class Faults {
  public:
    // Outlives the destructors of everything else.
    static Faults& all() {
        static Faults* const all = new Faults;
        return *all;
    }
    Met meet(const char* name) {
        const std::string line = std::string(name) + "\n";
        if (fLog >= 0) real<ssize_t, int, const void*>("write", fLog, line.data(), line.size());
        const long number = fCalls++;
        if (kind.empty() || number < fAt || (number > fAt && !fLasting)) return Met::kNothing;
        if (kind == "kill") ::kill(::getpid(), SIGKILL);
        if (kind.compare(0, kSignal.size(), kSignal) == 0) {
            ::kill(::getpid(), std::stoi(kind.substr(kSignal.size())));
            return Met::kNothing;
        }
        if (kind == "short" || kind == "half-kill") return Met::kHalf;
        errno = static_cast<int>(std::strtol(kind.c_str(), nullptr, 10));
        return Met::kFailure;
    }
    [[nodiscard]] bool hasFolder() const { return !fFolder.empty(); }
    [[nodiscard]] bool isOurs(int file) const {
        const std::lock_guard<std::mutex> lock(fMutex);
        return fOurs.count(file) > 0;
    }
    [[nodiscard]] bool isOurs(const std::string& path) const {
        return !fFolder.empty() && path.compare(0, fFolder.size(), fFolder) == 0;
    }
    void remember(int file) {
        const std::lock_guard<std::mutex> lock(fMutex);
        fOurs.insert(file);
    }
    void forget(int file) {
        const std::lock_guard<std::mutex> lock(fMutex);
        fOurs.erase(file);
    }

    const std::string kind = text("FAULTS_KIND");
    const bool hasLocks = text("FAULTS_NO_LOCKS").empty();
    const bool hasSyncs = text("FAULTS_NO_SYNCS").empty();

  private:
    static std::string text(const char* name) {
        const char* value = std::getenv(name);
        return value ? value : "";
    }

    const std::string fFolder = text("FAULTS_FOLDER");
    const int fLog = real<int, const char*, int, mode_t>("open64", text("FAULTS_LOG").c_str(),
                                                         O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    const long fAt = std::strtol(text("FAULTS_AT").c_str(), nullptr, 10);
    const bool fLasting = !text("FAULTS_LASTING").empty();
    std::atomic<long> fCalls{0};
    mutable std::mutex fMutex;
    std::set<int> fOurs;  // guarded by it
};

template <typename Result, typename File, typename... Arguments>
Result meetOrCall(const char* name, Result failure, File file, Arguments... arguments) {
    Faults& all = Faults::all();
    if (all.isOurs(file) && all.meet(name) == Met::kFailure) return failure;
    return real<Result, File, Arguments...>(name, file, arguments...);
}

/// The same for a question that is about no file.
template <typename Result, typename... Arguments>
Result meetOrAsk(const char* name, Result failure, Arguments... arguments) {
    Faults& all = Faults::all();
    if (all.hasFolder() && all.meet(name) == Met::kFailure) return failure;
    return real<Result, Arguments...>(name, arguments...);
}

// A half is never nothing.
template <typename Bytes>
ssize_t transfer(const char* name, int file, Bytes bytes, std::size_t count) {
    Faults& all = Faults::all();
    const Met met = all.isOurs(file) ? all.meet(name) : Met::kNothing;
    if (met == Met::kFailure) return -1;
    if (met == Met::kHalf) count = (count + 1) / 2;
    const ssize_t done = real<ssize_t, int, Bytes, std::size_t>(name, file, bytes, count);
    if (met == Met::kHalf && all.kind == "half-kill") ::kill(::getpid(), SIGKILL);
    return done;
}

}  // namespace

#ifdef __GLIBCXX__
// Equal saves make equal journals, so that it can be told which states have been seen.
std::random_device::result_type std::random_device::_M_getval() { return 4; }
#endif

extern "C" {
int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    const int file = meetOrCall("open64", -1, path, flags, mode);
    if (file >= 0 && Faults::all().isOurs(path)) Faults::all().remember(file);
    return file;
}
int fcntl64(int file, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    const bool isLock = command == F_OFD_SETLK || command == F_SETLK || command == F_OFD_SETLKW;
    if (isLock && !Faults::all().hasLocks) {
        errno = ENOLCK;
        return -1;
    }
    return meetOrCall("fcntl64", -1, file, command, argument);
}
ssize_t read(int file, void* to, std::size_t count) { return transfer("read", file, to, count); }
ssize_t write(int file, const void* from, std::size_t count) {
    return transfer("write", file, from, count);
}
off64_t lseek64(int file, off64_t offset, int whence) noexcept {
    return meetOrCall("lseek64", off64_t{-1}, file, offset, whence);
}
int ftruncate64(int file, off64_t length) noexcept {
    return meetOrCall("ftruncate64", -1, file, length);
}
int fallocate64(int file, int mode, off64_t offset, off64_t length) {
    return meetOrCall("fallocate64", -1, file, mode, offset, length);
}
int flock(int file, int operation) noexcept {
    if (Faults::all().hasLocks) return meetOrCall("flock", -1, file, operation);
    errno = ENOLCK;
    return -1;
}
int fsync(int file) { return Faults::all().hasSyncs ? meetOrCall("fsync", -1, file) : 0; }
int fchmod(int file, mode_t mode) noexcept { return meetOrCall("fchmod", -1, file, mode); }
int fchown(int file, uid_t user, gid_t group) noexcept {
    return meetOrCall("fchown", -1, file, user, group);
}
int fstat64(int file, struct stat64* to) noexcept { return meetOrCall("fstat64", -1, file, to); }
int lstat64(const char* path, struct stat64* to) noexcept {
    return meetOrCall("lstat64", -1, path, to);
}
int unlink(const char* path) noexcept { return meetOrCall("unlink", -1, path); }
int rename(const char* from, const char* to) noexcept { return meetOrCall("rename", -1, from, to); }
char* realpath(const char* path, char* to) noexcept {
    return meetOrCall("realpath", static_cast<char*>(nullptr), path, to);
}
ssize_t fgetxattr(int file, const char* name, void* to, std::size_t size) noexcept {
    return meetOrCall("fgetxattr", ssize_t{-1}, file, name, to, size);
}
ssize_t lgetxattr(const char* path, const char* name, void* to, std::size_t size) noexcept {
    return meetOrCall("lgetxattr", ssize_t{-1}, path, name, to, size);
}
int fsetxattr(int file, const char* name, const void* from, std::size_t size, int how) noexcept {
    return meetOrCall("fsetxattr", -1, file, name, from, size, how);
}
int getrlimit64(__rlimit_resource_t which, struct rlimit64* to) noexcept {
    return meetOrAsk("getrlimit64", -1, which, to);
}
int getgroups(int count, gid_t* to) noexcept { return meetOrAsk("getgroups", -1, count, to); }
int getpwuid_r(uid_t user, struct passwd* entry, char* text, std::size_t size,
               struct passwd** found) {
    *found = nullptr;
    return meetOrAsk("getpwuid_r", EIO, user, entry, text, size, found);
}
// Forgets the file first: once it is closed, another thread may get its number.
int close(int file) {
    Faults& all = Faults::all();
    const bool fails = all.isOurs(file) && all.meet("close") == Met::kFailure;
    all.forget(file);
    return fails ? -1 : real<int, int>("close", file);
}
}
