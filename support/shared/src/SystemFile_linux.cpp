#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "FaultSeam.h"
#include "NativePath.h"
#include "SharingLocks_linux.h"
#include "SystemFailure.h"
#include "SystemFile.h"

namespace shr {
namespace {

constexpr int kOpenAttempts = 16;
constexpr mode_t kNewFileMode = 0666;  // less the process's mask

int OpenDescriptor(const std::string& path, int flags) noexcept {
    if (IsFaultInjected(FileCall::open)) return -1;
    int descriptor;
    do { descriptor = open(path.c_str(), flags, kNewFileMode); } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

// Opening and making are tried in turns, so that it is certain who made the file, whatever others do meanwhile.
int OpenOrMake(const std::string& path, int flags, FileMode mode, bool& made) noexcept {
    const bool mayMake = mode != FileMode::openExisting;
    const bool mayExist = mode != FileMode::createNew;
    for (int attempt = 0; attempt < kOpenAttempts; ++attempt) {
        if (mayExist) {
            const int descriptor = OpenDescriptor(path, flags);
            if (descriptor >= 0 || errno != ENOENT || !mayMake) return descriptor;
        }
        const int descriptor = OpenDescriptor(path, flags | O_CREAT | O_EXCL);
        made = descriptor >= 0;
        if (made || errno != EEXIST || !mayExist) return descriptor;
    }
    // Neither there nor to be made: a link that leads to no file yet. The system makes the file at its end.
    return OpenDescriptor(path, flags | O_CREAT);
}

int OpenFlags(FileAccess access, FileMode mode, bool writeThrough) noexcept {
    // Non-blocking, so that a pipe cannot keep us waiting before we see that it is one; a terminal never becomes ours.
    int flags = O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    if (writeThrough) flags |= O_DSYNC;
    // Emptying a file takes a descriptor that can write, even if nothing else will be written.
    if (access == FileAccess::readWrite || (access == FileAccess::read && mode == FileMode::create)) {
        return flags | O_RDWR;
    }
    return flags | (access == FileAccess::read ? O_RDONLY : O_WRONLY);
}

int CheckRegular(int descriptor) noexcept {
    if (IsFaultInjected(FileCall::query)) return errno;
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return errno;
    if (S_ISDIR(status.st_mode)) return EISDIR;
    return S_ISREG(status.st_mode) ? 0 : EOPNOTSUPP;
}

int Truncate(int descriptor, std::int64_t length) noexcept {
    if (IsFaultInjected(FileCall::truncate)) return errno;
    int result;
    do { result = ftruncate(descriptor, length); } while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

}  // namespace

bool SystemFile::Open(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing, bool writeThrough) {
    const std::string path = NativePath(name);
    bool made = false;
    const int descriptor = OpenOrMake(path, OpenFlags(access, mode, writeThrough), mode, made);
    if (descriptor < 0) {
        // That is how the system tells that nobody reads from a pipe, or that a socket cannot be opened.
        if (errno == ENXIO) errno = EOPNOTSUPP;
        return false;
    }
    int error = CheckRegular(descriptor);
    if (error == 0) error = DeclareSharing(descriptor, access != FileAccess::write, access, sharing);
    if (error == 0 && mode == FileMode::create && !made) error = Truncate(descriptor, 0);
    if (error == 0) {
        handle = descriptor;
        return true;
    }
    // A file that is busy belongs to the one who was faster than us in opening what we had made.
    if (made && error != EBUSY) unlink(path.c_str());
    close(descriptor);
    errno = error;
    return false;
}

bool SystemFile::Close() noexcept {
    if (!IsOpen()) return true;
    const bool failing = IsFaultInjected(FileCall::close);
    // Whatever close() answers, the descriptor is free afterwards and must not be closed again.
    const int result = close(static_cast<int>(handle));
    handle = kNoHandle;
    if (failing) SetLastSystemError(SystemErrorCode(SystemFailure::deviceFault));
    return !failing && (result == 0 || errno == EINTR);
}

std::int64_t SystemFile::ReadOnce(void* dst, std::size_t byteCount, std::int64_t position) noexcept {
    const ssize_t moved = pread(static_cast<int>(handle), dst, byteCount, position);
    return moved < 0 && errno == EINTR ? kInterrupted : moved;
}

std::int64_t SystemFile::WriteOnce(const void* src, std::size_t byteCount, std::int64_t position) noexcept {
    const ssize_t moved = pwrite(static_cast<int>(handle), src, byteCount, position);
    return moved < 0 && errno == EINTR ? kInterrupted : moved;
}

std::int64_t SystemFile::GetLength() noexcept {
    if (IsFaultInjected(FileCall::query)) return -1;
    struct stat status {};
    return fstat(static_cast<int>(handle), &status) == 0 ? status.st_size : -1;
}

bool SystemFile::SetLength(std::int64_t length) noexcept {
    const int error = Truncate(static_cast<int>(handle), length);
    if (error != 0) errno = error;
    return error == 0;
}

bool SystemFile::Sync() noexcept {
    if (IsFaultInjected(FileCall::sync)) return false;
    int result;
    do { result = fsync(static_cast<int>(handle)); } while (result != 0 && errno == EINTR);
    return result == 0;
}

}  // namespace shr
