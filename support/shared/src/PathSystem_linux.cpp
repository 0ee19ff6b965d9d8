#include "PathSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "FaultSeam.h"
#include "NativePath.h"
#include "SystemFailure.h"
#include "shr/Path.h"

namespace shr {
namespace {

bool GetStatus(const ZString& path, struct stat& status) noexcept {
    try {
        return stat(NativePath(path).c_str(), &status) == 0;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

/// Whether there is nothing to wait for: folders cannot be synchronised on this file system.
bool MeansNoSyncHere(int error) noexcept {
    return error == EINVAL || error == EROFS || error == ENOSYS || error == EOPNOTSUPP;
}

/// Returns when the device knows the names in a folder as they are now.
bool SyncFolder(const std::string& nativeFolder) noexcept {
    if (IsFaultInjected(FileCall::sync)) return false;
    int descriptor;
    do {
        descriptor = open(nativeFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    // Files may be put into a folder that nobody may list; nothing can be done for these.
    if (descriptor < 0) return errno == EACCES;
    int result;
    do { result = fsync(descriptor); } while (result != 0 && errno == EINTR);
    const bool isSynced = result == 0 || MeansNoSyncHere(errno);
    const SystemErrorKeeper keeper;
    close(descriptor);
    return isSynced;
}

}  // namespace

const wchar_t kDirSeparator = L'/';

bool IsDirSeparator(wchar_t unit) noexcept { return unit == L'/'; }

std::size_t RootLength(const std::wstring& path) noexcept { return path.starts_with(L'/') ? 1 : 0; }

std::size_t FolderLength(const std::wstring& path) noexcept { return path.find_last_of(L'/') + 1; }

ZString SystemTempFolder() {
    const char* const chosen = secure_getenv("TMPDIR");
    return ZString::FromUtf8(chosen != nullptr && *chosen != '\0' ? chosen : "/tmp");
}

FileMaking MakePrivateFile(const ZString& name) {
    if (IsFaultInjected(FileCall::open)) return FileMaking::failed;
    const std::string path = NativePath(name);
    int descriptor;
    do {
        descriptor = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOCTTY, S_IRUSR | S_IWUSR);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) return errno == EEXIST ? FileMaking::existsAlready : FileMaking::failed;
    close(descriptor);
    return FileMaking::made;
}

bool PathExists(const ZString& path) noexcept {
    struct stat status {};
    return GetStatus(path, status);
}

bool IsFolder(const ZString& path) noexcept {
    struct stat status {};
    return GetStatus(path, status) && S_ISDIR(status.st_mode);
}

bool RemoveNativeFile(const std::string& nativeName) noexcept {
    return !IsFaultInjected(FileCall::remove) && unlink(nativeName.c_str()) == 0;
}

bool RemoveFile(const ZString& name) noexcept {
    try {
        return RemoveNativeFile(NativePath(name));
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

bool RenameFile(const ZString& from, const ZString& to) noexcept {
    try {
        // Made before anything is done, since they need memory.
        const std::string oldName = NativePath(from), newName = NativePath(to);
        const std::size_t separator = newName.rfind('/');
        const std::string folder = separator == std::string::npos ? "." : newName.substr(0, separator + 1);
        return !IsFaultInjected(FileCall::rename) && std::rename(oldName.c_str(), newName.c_str()) == 0 &&
               SyncFolder(folder);
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

ZString FollowLinks(const ZString& name) {
    const std::string path = NativePath(name);
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0 || !S_ISLNK(status.st_mode)) return name;
    const std::unique_ptr<char, void (*)(void*)> real(realpath(path.c_str(), nullptr), std::free);
    return real == nullptr ? name : ZString::FromUtf8(real.get());
}

void TakePermissions(const ZString& file, const ZString& model) {
    mode_t mode = 0;
    struct stat status {};
    if (stat(NativePath(model).c_str(), &status) == 0) {
        mode = status.st_mode & 0777;
    } else {
        const mode_t mask = umask(0);  // there is no way to ask for it but to set it
        umask(mask);
        mode = 0666 & ~mask;
    }
    // Some file systems know no permissions; then there is nothing to take.
    [[maybe_unused]] const int ignored = chmod(NativePath(file).c_str(), mode);
}

}  // namespace shr
