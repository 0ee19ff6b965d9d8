#include "PathSystem.h"

#include <windows.h>

#include <new>

#include "FaultSeam.h"
#include "NativePath.h"
#include "shr/Path.h"

namespace shr {
namespace {

DWORD AttributesOf(const ZString& path) noexcept {
    try {
        return path.IsEmpty() ? INVALID_FILE_ATTRIBUTES : GetFileAttributesW(NativePath(path).c_str());
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return INVALID_FILE_ATTRIBUTES;
    }
}

std::size_t LengthThroughSeparator(const std::wstring& path, std::size_t from) noexcept {
    while (from < path.size() && !IsDirSeparator(path[from])) ++from;
    return from < path.size() ? from + 1 : from;
}

}  // namespace

const wchar_t kDirSeparator = L'\\';

bool IsDirSeparator(wchar_t unit) noexcept { return unit == L'\\' || unit == L'/'; }

std::size_t RootLength(const std::wstring& path) noexcept {
    const auto separatorAt = [&](std::size_t i) { return i < path.size() && IsDirSeparator(path[i]); };
    if (separatorAt(0) && separatorAt(1)) {  // \\host\share\ and, with drives for shares, \\?\C:\ as well
        return LengthThroughSeparator(path, LengthThroughSeparator(path, 2));
    }
    if (separatorAt(0)) return 1;
    if (path.size() >= 2 && path[1] == L':') return separatorAt(2) ? 3 : 2;
    return 0;
}

std::size_t FolderLength(const std::wstring& path) noexcept {
    const std::size_t length = path.find_last_of(L"\\/") + 1;
    return length == 0 && path.size() >= 2 && path[1] == L':' ? 2 : length;
}

ZString SystemTempFolder() {
    wchar_t folder[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, folder);
    return length != 0 && length <= MAX_PATH ? ZString(folder) : ZString(L".\\");
}

FileMaking MakePrivateFile(const ZString& name) {
    if (IsFaultInjected(FileCall::open)) return FileMaking::failed;
    const HANDLE made =
        CreateFileW(NativePath(name).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (made == INVALID_HANDLE_VALUE) {
        return GetLastError() == ERROR_FILE_EXISTS ? FileMaking::existsAlready : FileMaking::failed;
    }
    CloseHandle(made);
    return FileMaking::made;
}

bool PathExists(const ZString& path) noexcept {
    const DWORD attributes = AttributesOf(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) return false;
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 || !IsDirSeparator(path.Last());
}

bool IsFolder(const ZString& path) noexcept {
    const DWORD attributes = AttributesOf(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool RemoveNativeFile(const std::wstring& nativeName) noexcept {
    return !IsFaultInjected(FileCall::remove) && DeleteFileW(nativeName.c_str()) != FALSE;
}

bool RemoveFile(const ZString& name) noexcept {
    try {
        return RemoveNativeFile(NativePath(name));
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
}

bool RenameFile(const ZString& from, const ZString& to) noexcept {
    try {
        // Written through, the new name is on the disk when the call returns; a folder needs nothing of its own.
        return !IsFaultInjected(FileCall::rename) &&
               MoveFileExW(NativePath(from).c_str(), NativePath(to).c_str(),
                           MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != FALSE;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return false;
    }
}

ZString FollowLinks(const ZString& name) {
    const DWORD attributes = AttributesOf(name);
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) return name;
    std::wstring real(32768, L'\0');
    const HANDLE file = CreateFileW(NativePath(name).c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (file == INVALID_HANDLE_VALUE) return name;
    const DWORD length = GetFinalPathNameByHandleW(file, real.data(), static_cast<DWORD>(real.size()), 0);
    CloseHandle(file);
    if (length == 0 || length >= real.size()) return name;
    real.resize(length);
    return real;
}

void TakePermissions(const ZString& /*file*/, const ZString& /*model*/) {
    // A new file inherits its folder's access rights here; that is what its users expect.
}

}  // namespace shr
