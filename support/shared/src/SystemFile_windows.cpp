#include <windows.h>

#include "FaultSeam.h"
#include "NativePath.h"
#include "SystemFailure.h"
#include "SystemFile.h"

namespace shr {
namespace {

HANDLE ToHandle(std::intptr_t handle) noexcept { return reinterpret_cast<HANDLE>(handle); }

DWORD AccessRights(FileAccess access) noexcept {
    return (access != FileAccess::write ? GENERIC_READ : DWORD{0}) |
           (access != FileAccess::read ? GENERIC_WRITE : DWORD{0});
}

DWORD ShareMode(FileSharing sharing) noexcept {
    static_assert(static_cast<int>(FileSharing::read) == FILE_SHARE_READ);
    static_assert(static_cast<int>(FileSharing::write) == FILE_SHARE_WRITE);
    return static_cast<DWORD>(sharing);
}

DWORD Disposition(FileMode mode) noexcept {
    switch (mode) {
        case FileMode::createNew: return CREATE_NEW;
        case FileMode::create: return CREATE_ALWAYS;
        case FileMode::openExisting: return OPEN_EXISTING;
        case FileMode::openAlways: return OPEN_ALWAYS;
    }
    return 0;
}

// A hidden or system file is emptied only by who names these attributes.
DWORD AttributesToKeep(const std::wstring& path, FileMode mode) noexcept {
    if (mode != FileMode::create) return 0;
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes == INVALID_FILE_ATTRIBUTES ? 0 : attributes & (FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
}

OVERLAPPED At(std::int64_t position) noexcept {
    OVERLAPPED overlapped{};
    overlapped.Offset = static_cast<DWORD>(position & 0xFFFFFFFF);
    overlapped.OffsetHigh = static_cast<DWORD>(position >> 32);
    return overlapped;
}

}  // namespace

bool SystemFile::Open(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing, bool writeThrough) {
    const std::wstring path = NativePath(name);
    if (IsFaultInjected(FileCall::open)) return false;
    const DWORD keptAttributes = AttributesToKeep(path, mode);
    const DWORD attributes = keptAttributes != 0 ? keptAttributes : FILE_ATTRIBUTE_NORMAL;
    const HANDLE opened =
        CreateFileW(path.c_str(), AccessRights(access), ShareMode(sharing), nullptr, Disposition(mode),
                    attributes | (writeThrough ? FILE_FLAG_WRITE_THROUGH : DWORD{0}), nullptr);
    if (opened == INVALID_HANDLE_VALUE) return false;
    // Folders do not open this way, but consoles, ports and pipes do.
    if (GetFileType(opened) != FILE_TYPE_DISK) {
        CloseHandle(opened);
        SetLastError(ERROR_NOT_SUPPORTED);
        return false;
    }
    handle = reinterpret_cast<std::intptr_t>(opened);
    return true;
}

bool SystemFile::Close() noexcept {
    if (!IsOpen()) return true;
    const bool failing = IsFaultInjected(FileCall::close);
    const bool closed = CloseHandle(ToHandle(handle)) != FALSE;
    handle = kNoHandle;
    if (failing) SetLastSystemError(SystemErrorCode(SystemFailure::deviceFault));
    return closed && !failing;
}

std::int64_t SystemFile::ReadOnce(void* dst, std::size_t byteCount, std::int64_t position) noexcept {
    OVERLAPPED place = At(position);
    DWORD moved = 0;
    if (ReadFile(ToHandle(handle), dst, static_cast<DWORD>(byteCount), &moved, &place)) return moved;
    return GetLastError() == ERROR_HANDLE_EOF ? 0 : -1;
}

std::int64_t SystemFile::WriteOnce(const void* src, std::size_t byteCount, std::int64_t position) noexcept {
    OVERLAPPED place = At(position);
    DWORD moved = 0;
    return WriteFile(ToHandle(handle), src, static_cast<DWORD>(byteCount), &moved, &place) ? moved : -1;
}

std::int64_t SystemFile::GetLength() noexcept {
    if (IsFaultInjected(FileCall::query)) return -1;
    LARGE_INTEGER length{};
    return GetFileSizeEx(ToHandle(handle), &length) ? length.QuadPart : -1;
}

bool SystemFile::SetLength(std::int64_t length) noexcept {
    if (IsFaultInjected(FileCall::truncate)) return false;
    FILE_END_OF_FILE_INFO end{};
    end.EndOfFile.QuadPart = length;
    return SetFileInformationByHandle(ToHandle(handle), FileEndOfFileInfo, &end, sizeof(end)) != FALSE;
}

bool SystemFile::Sync() noexcept {
    return !IsFaultInjected(FileCall::sync) && FlushFileBuffers(ToHandle(handle)) != FALSE;
}

}  // namespace shr
