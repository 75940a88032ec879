// The advisory lock that readers and writers of one file take on its descriptor.
// SPDX-License-Identifier: Apache-2.0
#ifndef _FILE_OFFSET_BITS
#define _FILE_OFFSET_BITS 64
#endif

#include "files/posix/DescriptorLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/types.h>

#include "files/posix/SystemCall.h"

namespace orbo::Files {

namespace {

File::LockResult resultOf(int result, std::error_code& error) {
    if (result == 0) return File::LockResult::kLocked;
    error = lastError();
    if (isAnyOf(error.value(), {EAGAIN, EACCES, EWOULDBLOCK})) return File::LockResult::kBusy;
    // Network file systems and containers answer in one of these ways.
    const bool isUnsupported =
        isAnyOf(error.value(), {EINVAL, ENOLCK, ENOSYS, ENOTSUP, EOPNOTSUPP});
    return isUnsupported ? File::LockResult::kUnsupported : File::LockResult::kFailed;
}

#ifdef F_OFD_SETLK

// A gate gives waiting writers their turn: readers hold it only while they lock, and a waiting
// writer keeps it, so that readers which take turns cannot keep a writer out. Gate and lock are
// locks on ranges of bytes that no file has; other versions lock both ranges at once.
constexpr off_t kGate = off_t{1} << 62;

// Unlike traditional locks on ranges, these stay when another part of this process closes the
// file.
int setRange(int descriptor, short type, off_t start, off_t size) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    range.l_start = start;
    range.l_len = size;
    return untilNotInterrupted([&] { return ::fcntl(descriptor, F_OFD_SETLK, &range); });
}

#endif

}  // namespace

#ifdef F_OFD_SETLK

File::LockResult lockDescriptor(int descriptor, File::Lock kind, std::error_code& error) {
    const short type = kind == File::Lock::kShared ? F_RDLCK : F_WRLCK;
    File::LockResult result = resultOf(setRange(descriptor, type, kGate, 1), error);
    if (result == File::LockResult::kLocked) {
        result = resultOf(setRange(descriptor, type, 0, kGate), error);
    }
    if (kind == File::Lock::kShared) setRange(descriptor, F_UNLCK, kGate, 1);
    return result;
}

void unlockDescriptor(int descriptor) { setRange(descriptor, F_UNLCK, 0, 0); }

#else

// A system without locks of open files locks whole files, and has no gate.
File::LockResult lockDescriptor(int descriptor, File::Lock kind, std::error_code& error) {
    const int type = kind == File::Lock::kShared ? LOCK_SH : LOCK_EX;
    return resultOf(untilNotInterrupted([&] { return ::flock(descriptor, LOCK_NB | type); }),
                    error);
}

void unlockDescriptor(int descriptor) { ::flock(descriptor, LOCK_UN); }

#endif

}  // namespace orbo::Files
