// Loaded ahead of the C library: makes one file-system call of a process fail, or its last one.
// SPDX-License-Identifier: Apache-2.0
//
// Only files below FAULTS_FOLDER count. FAULTS_LOG names a file that gets the name of each call.
// FAULTS_AT is the number, from 0, of the call that is met; with FAULTS_LASTING all later ones are,
// too. FAULTS_KIND says by what: "kill" kills at entry, "half-kill" after half of a read or write,
// "short" does half of one, and a number is the error that the call fails with.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <string>
#include <utility>

namespace {

enum class Met { kNothing, kFailure, kHalf };

struct Faults {
    static std::string text(const char* name) {
        const char* value = std::getenv(name);
        return value ? value : "";
    }
    std::string folder = text("FAULTS_FOLDER");
    std::string log = text("FAULTS_LOG");
    std::string kind = text("FAULTS_KIND");
    long at = std::atol(text("FAULTS_AT").c_str());
    bool lasting = !text("FAULTS_LASTING").empty();
    long calls = 0;
    std::array<bool, 1024> isOurs{};
};

// Outlives the destructors of everything else.
Faults& faults() {
    static Faults* const all = new Faults;
    return *all;
}

template <typename Result, typename... Arguments>
Result real(const char* name, Arguments... arguments) {
    using Function = Result (*)(Arguments...);
    static_assert(sizeof(Function) == sizeof(void*), "dlsym gives functions, too");
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name))(arguments...);
}

void log(const char* name) {
    const int file = real<int, const char*, int, mode_t>("open", faults().log.c_str(),
                                                         O_WRONLY | O_CREAT | O_APPEND, 0644);
    const std::string line = std::string(name) + "\n";
    real<ssize_t, int, const void*, std::size_t>("write", file, line.data(), line.size());
    real<int, int>("close", file);
}

Met meet(const char* name) {
    Faults& all = faults();
    if (!all.log.empty()) log(name);
    const long number = all.calls++;
    if (all.kind.empty() || number < all.at || (number > all.at && !all.lasting)) {
        return Met::kNothing;
    }
    if (all.kind == "kill") ::kill(::getpid(), SIGKILL);
    if (all.kind == "short" || all.kind == "half-kill") return Met::kHalf;
    errno = std::atoi(all.kind.c_str());
    return Met::kFailure;
}

bool isOurs(int file) {
    return file >= 0 && static_cast<std::size_t>(file) < faults().isOurs.size() &&
           faults().isOurs[static_cast<std::size_t>(file)];
}
bool isOurs(const char* path) {
    const std::string& folder = faults().folder;
    return !folder.empty() && std::string(path).compare(0, folder.size(), folder) == 0;
}

template <typename Result, typename File, typename... Arguments>
Result meetOrCall(const char* name, Result failure, File file, Arguments... arguments) {
    if (isOurs(file) && meet(name) == Met::kFailure) return failure;
    return real<Result, File, Arguments...>(name, file, arguments...);
}

// A half is never nothing.
template <typename Bytes>
ssize_t transfer(const char* name, int file, Bytes bytes, std::size_t count) {
    const Met met = isOurs(file) ? meet(name) : Met::kNothing;
    if (met == Met::kFailure) return -1;
    if (met == Met::kHalf && count > 1) count = (count + 1) / 2;
    const ssize_t done = real<ssize_t, int, Bytes, std::size_t>(name, file, bytes, count);
    if (met == Met::kHalf && faults().kind == "half-kill") ::kill(::getpid(), SIGKILL);
    return done;
}

int openFile(const char* path, int flags, mode_t mode) {
    const bool ours = isOurs(path);
    if (ours && meet("open") == Met::kFailure) return -1;
    const int file = real<int, const char*, int, mode_t>("open", path, flags, mode);
    if (file >= 0 && static_cast<std::size_t>(file) < faults().isOurs.size()) {
        faults().isOurs[static_cast<std::size_t>(file)] = ours;
    }
    return file;
}

mode_t modeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : mode_t{0};
}

}  // namespace

extern "C" {
int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = modeOf(flags, arguments);
    va_end(arguments);
    return openFile(path, flags, mode);
}
int fcntl64(int file, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
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
int fsync(int file) { return meetOrCall("fsync", -1, file); }
int fchmod(int file, mode_t mode) noexcept { return meetOrCall("fchmod", -1, file, mode); }
int fstat64(int file, struct stat64* to) noexcept { return meetOrCall("fstat64", -1, file, to); }
int lstat64(const char* path, struct stat64* to) noexcept {
    return meetOrCall("lstat64", -1, path, to);
}
int unlink(const char* path) noexcept { return meetOrCall("unlink", -1, path); }
int rename(const char* from, const char* to) noexcept { return meetOrCall("rename", -1, from, to); }
char* realpath(const char* path, char* to) noexcept {
    return meetOrCall("realpath", static_cast<char*>(nullptr), path, to);
}
int close(int file) {
    const int result = meetOrCall("close", -1, file);
    if (isOurs(file)) faults().isOurs[static_cast<std::size_t>(file)] = false;
    return result;
}
}
