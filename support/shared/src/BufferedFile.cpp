// The buffer is a window on the file: bytes that are in the file, or will be once the window's dirty part is written.
//
//     file     ............|bbbbbbDDDDDDbbbbbb|..................
//                          ^start             ^start + length
//
// Reads and small writes work on the window wherever the position lies in it, so that mixed ones agree. The dirty part
// is one run of bytes written here and nothing else: a write that does not touch it first sends it to the system, since
// writing back the bytes in between could undo what others wrote to them.

#include "shr/BufferedFile.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <limits>

#include "SystemFailure.h"
#include "SystemFile.h"
#include "shr/Exception.h"

namespace shr {
namespace {

constexpr std::size_t kBufferBytes = std::size_t{64} << 10;
// From here on the copy through the buffer costs more than the system call that it could save.
constexpr std::size_t kDirectBytes = std::size_t{16} << 10;

constexpr std::int64_t kLastPosition = std::numeric_limits<std::int64_t>::max();

constexpr wchar_t kModule[] = L"Shared";
constexpr wchar_t kSourceFile[] = L"BufferedFile";

void RequireOpen(bool isOpen, int line) {
    if (!isOpen) ThrowInternalError(kModule, kSourceFile, line, "the file must be open");
}

[[noreturn]] void ThrowWriteError(int line, const ZString& name) {
    Throw_ERR_SHR_FILE_WRITE(kModule, kSourceFile, line, name, FormatSystemErrorMsg());
}

}  // namespace

struct CBufferedFile::State {
    ZString name;
    FileAccess access = FileAccess::read;
    SystemFile file;
    std::int64_t position = 0;

    bool TryRead(std::uint8_t* dst, std::size_t byteCount, std::size_t& bytesRead);
    bool TryWrite(const std::uint8_t* src, std::size_t byteCount);
    /// Sends the dirty part to the system. If that fails the window is dropped, so that the error is told only once.
    bool TryFlush() noexcept;
    bool TryClose() noexcept;
    std::int64_t End() const noexcept { return start + static_cast<std::int64_t>(dirtyEnd); }
    bool IsDirty() const noexcept { return dirtyBegin != dirtyEnd; }
    void Drop() noexcept { length = dirtyBegin = dirtyEnd = 0; }

private:
    std::size_t CopyFromWindow(std::uint8_t* dst, std::size_t byteCount, std::int64_t from) const noexcept;
    bool TryFill(std::int64_t from);
    bool Takes(std::size_t byteCount) const noexcept;
    void CopyToWindow(const std::uint8_t* src, std::size_t byteCount) noexcept;
    bool TryWriteDirectly(const std::uint8_t* src, std::size_t byteCount) noexcept;
    void NeedBuffer();

    std::unique_ptr<std::uint8_t[]> buffer;  // made when it is first needed
    std::int64_t start = 0;
    std::size_t length = 0;
    std::size_t dirtyBegin = 0, dirtyEnd = 0;  // in the window
};

void CBufferedFile::State::NeedBuffer() {
    if (buffer == nullptr) buffer.reset(new std::uint8_t[kBufferBytes]);
}

std::size_t CBufferedFile::State::CopyFromWindow(std::uint8_t* dst, std::size_t byteCount,
                                                 std::int64_t from) const noexcept {
    if (from < start || from - start >= static_cast<std::int64_t>(length)) return 0;
    const auto offset = static_cast<std::size_t>(from - start);
    const std::size_t count = std::min(byteCount, length - offset);
    std::memcpy(dst, buffer.get() + offset, count);
    return count;
}

bool CBufferedFile::State::TryFill(std::int64_t from) {
    NeedBuffer();
    if (!TryFlush()) return false;
    Drop();
    const std::int64_t filled = file.ReadAll(buffer.get(), kBufferBytes, from);
    if (filled < 0) return false;
    start = from;
    length = static_cast<std::size_t>(filled);
    return true;
}

bool CBufferedFile::State::TryRead(std::uint8_t* dst, std::size_t byteCount, std::size_t& bytesRead) {
    bytesRead = CopyFromWindow(dst, byteCount, position);
    const std::size_t rest = byteCount - bytesRead;
    const std::int64_t from = position + static_cast<std::int64_t>(bytesRead);
    if (rest >= kDirectBytes) {
        if (!TryFlush()) return false;
        const std::int64_t got = file.ReadAll(dst + bytesRead, rest, from);
        if (got < 0) return false;
        bytesRead += static_cast<std::size_t>(got);
    } else if (rest > 0) {
        if (!TryFill(from)) return false;
        bytesRead += CopyFromWindow(dst + bytesRead, rest, from);
    }
    position += static_cast<std::int64_t>(bytesRead);
    return true;
}

/// Whether a write at the position keeps the window one run of known bytes, and its dirty part one run of written ones.
bool CBufferedFile::State::Takes(std::size_t byteCount) const noexcept {
    if (position < start || position - start > static_cast<std::int64_t>(length)) return false;
    const auto offset = static_cast<std::size_t>(position - start);
    if (offset + byteCount > kBufferBytes) return false;
    return !IsDirty() || (offset <= dirtyEnd && offset + byteCount >= dirtyBegin);
}

void CBufferedFile::State::CopyToWindow(const std::uint8_t* src, std::size_t byteCount) noexcept {
    const auto offset = static_cast<std::size_t>(position - start);
    const std::size_t end = offset + byteCount;
    std::memcpy(buffer.get() + offset, src, byteCount);
    dirtyBegin = IsDirty() ? std::min(dirtyBegin, offset) : offset;
    dirtyEnd = std::max(dirtyEnd, end);
    length = std::max(length, end);
}

bool CBufferedFile::State::TryWriteDirectly(const std::uint8_t* src, std::size_t byteCount) noexcept {
    if (!TryFlush()) return false;
    const bool isBeforeWindow = position <= start && byteCount <= static_cast<std::uint64_t>(start - position);
    const bool isBehindWindow = position >= start && position - start >= static_cast<std::int64_t>(length);
    if (!isBeforeWindow && !isBehindWindow) Drop();
    return file.WriteAll(src, byteCount, position);
}

bool CBufferedFile::State::TryWrite(const std::uint8_t* src, std::size_t byteCount) {
    if (byteCount >= kDirectBytes) {
        if (!TryWriteDirectly(src, byteCount)) return false;
    } else {
        NeedBuffer();
        if (!Takes(byteCount)) {
            if (!TryFlush()) return false;
            Drop();
            start = position;
        }
        CopyToWindow(src, byteCount);
    }
    position += static_cast<std::int64_t>(byteCount);
    return true;
}

bool CBufferedFile::State::TryFlush() noexcept {
    if (!IsDirty()) return true;
    const std::size_t begin = dirtyBegin, end = dirtyEnd;
    dirtyBegin = dirtyEnd = 0;
    if (file.WriteAll(buffer.get() + begin, end - begin, start + static_cast<std::int64_t>(begin))) return true;
    Drop();
    return false;
}

bool CBufferedFile::State::TryClose() noexcept {
    if (TryFlush()) return file.Close();
    const SystemErrorKeeper keepTheFirstError;
    file.Close();
    return false;
}

CBufferedFile::CBufferedFile() noexcept = default;

CBufferedFile::~CBufferedFile() {
    try {
        Close();
    } catch (...) {
        try {
            LogExceptionInfoAndRethrowIfUnknown(kModule, kSourceFile, __LINE__, L"closing a file");
        } catch (...) {
            // A destructor has nobody to tell but the log.
        }
    }
}

CBufferedFile::CBufferedFile(CBufferedFile&& other) noexcept : state(std::move(other.state)) {}

CBufferedFile& CBufferedFile::operator=(CBufferedFile&& other) noexcept {
    CBufferedFile taken(std::move(other));
    state.swap(taken.state);  // what was open here is closed with `taken`
    return *this;
}

bool CBufferedFile::IsOpen() const noexcept { return state != nullptr; }

const ZString& CBufferedFile::GetName() const noexcept {
    if (IsOpen()) return state->name;
    static const ZString none;
    return none;
}

bool CBufferedFile::OpenNoThrow(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing,
                                bool writeThrough) noexcept {
    try {
        auto opened = std::make_unique<State>();
        opened->name = name;  // a copy: it may be our own name
        opened->access = access;
        if (const std::unique_ptr<State> previous = std::move(state); previous != nullptr && !previous->TryClose()) {
            const SystemErrorKeeper keeper;
            opened.reset();
            return false;
        }
        if (opened->file.Open(opened->name, access, mode, sharing, writeThrough)) {
            state = std::move(opened);
            return true;
        }
        const SystemErrorKeeper keeper;
        opened.reset();
    } catch (const std::exception&) {
        // All that is thrown here is for want of memory.
        SetLastSystemError(SystemErrorCode(SystemFailure::outOfMemory));
    }
    return false;
}

void CBufferedFile::Open(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing,
                         bool writeThrough) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be our own name, which Close() takes away
    const ZString keptName = name;
    Close();
    if (OpenNoThrow(keptName, access, mode, sharing, writeThrough)) return;
    const ZString systemText = FormatSystemErrorMsg();
    if (mode == FileMode::createNew || mode == FileMode::create) {
        Throw_ERR_SHR_FILE_CREATE(kModule, kSourceFile, __LINE__, keptName, systemText);
    }
    Throw_ERR_SHR_FILE_OPEN(kModule, kSourceFile, __LINE__, keptName, systemText);
}

std::size_t CBufferedFile::Read(void* dst, std::size_t byteCount) {
    RequireOpen(IsOpen(), __LINE__);
    if (byteCount == 0) return 0;
    std::size_t bytesRead = 0;
    if (state->access == FileAccess::write) {
        SetLastSystemError(SystemErrorCode(SystemFailure::accessDenied));
    } else if (state->TryRead(static_cast<std::uint8_t*>(dst), byteCount, bytesRead)) {
        return bytesRead;
    }
    Throw_ERR_SHR_FILE_READ(kModule, kSourceFile, __LINE__, state->name, FormatSystemErrorMsg());
}

void CBufferedFile::ReadExactly(void* dst, std::size_t byteCount) {
    const std::size_t bytesRead = Read(dst, byteCount);
    if (bytesRead == byteCount) return;
    state->position -= static_cast<std::int64_t>(bytesRead);
    Throw_ERR_SHR_FILE_READ(kModule, kSourceFile, __LINE__, state->name, L"the file ends too early");
}

void CBufferedFile::Write(const void* src, std::size_t byteCount) {
    RequireOpen(IsOpen(), __LINE__);
    if (byteCount == 0) return;
    if (state->access == FileAccess::read) {
        SetLastSystemError(SystemErrorCode(SystemFailure::accessDenied));
    } else if (byteCount > static_cast<std::uint64_t>(kLastPosition - state->position)) {
        SetLastSystemError(SystemErrorCode(SystemFailure::fileTooLarge));
    } else if (state->TryWrite(static_cast<const std::uint8_t*>(src), byteCount)) {
        return;
    }
    ThrowWriteError(__LINE__, state->name);
}

void CBufferedFile::Seek(std::int64_t position) {
    RequireOpen(IsOpen(), __LINE__);
    if (position < 0) {
        const int code = SystemErrorCode(SystemFailure::invalidArgument);
        Throw_ERR_SHR_FILE_SEEK(kModule, kSourceFile, __LINE__, state->name, FormatSystemErrorMsg(code));
    }
    state->position = position;
}

std::int64_t CBufferedFile::GetPosition() const noexcept { return IsOpen() ? state->position : 0; }

std::int64_t CBufferedFile::GetLength() {
    RequireOpen(IsOpen(), __LINE__);
    const std::int64_t length = state->file.GetLength();
    if (length < 0) { Throw_ERR_SHR_FILE_SEEK(kModule, kSourceFile, __LINE__, state->name, FormatSystemErrorMsg()); }
    return state->IsDirty() ? std::max(length, state->End()) : length;
}

void CBufferedFile::SetLength(std::int64_t length) {
    RequireOpen(IsOpen(), __LINE__);
    if (state->access == FileAccess::read || length < 0) {
        SetLastSystemError(SystemErrorCode(length < 0 ? SystemFailure::invalidArgument : SystemFailure::accessDenied));
        ThrowWriteError(__LINE__, state->name);
    }
    if (!state->TryFlush()) ThrowWriteError(__LINE__, state->name);
    state->Drop();
    if (!state->file.SetLength(length)) ThrowWriteError(__LINE__, state->name);
}

void CBufferedFile::Flush() {
    RequireOpen(IsOpen(), __LINE__);
    if (!state->TryFlush()) ThrowWriteError(__LINE__, state->name);
}

void CBufferedFile::FlushToDevice() {
    Flush();
    if (state->access != FileAccess::read && !state->file.Sync()) ThrowWriteError(__LINE__, state->name);
}

void CBufferedFile::Close() {
    const std::unique_ptr<State> closing = std::move(state);
    if (closing != nullptr && !closing->TryClose()) ThrowWriteError(__LINE__, closing->name);
}

void CBufferedFile::Discard() {
    if (IsOpen()) state->Drop();
    Close();
}

}  // namespace shr
