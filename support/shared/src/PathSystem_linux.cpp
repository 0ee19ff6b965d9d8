#include "PathSystem.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "FaultSeam.h"
#include "NativePath.h"
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
        return !IsFaultInjected(FileCall::rename) && std::rename(NativePath(from).c_str(), NativePath(to).c_str()) == 0;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return false;
    }
}

}  // namespace shr
