#pragma once
#include <cstddef>
#include <cstdint>

#include "shr/BufferedFile.h"

namespace shr {

/// An open file of the operating system, without a buffer and without a position of its own: the layer that
/// CBufferedFile stands on. What fails returns false (or -1); LastSystemError() then tells why.
class SystemFile {
public:
    SystemFile() noexcept = default;
    /// Closes, and forgets what goes wrong in that.
    ~SystemFile() { Close(); }
    SystemFile(const SystemFile&) = delete;
    SystemFile& operator=(const SystemFile&) = delete;

    /// Opens a regular file as CBufferedFile::Open says; this object must be closed. A failure leaves no file behind
    /// that this call made.
    bool Open(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing, bool writeThrough);
    bool IsOpen() const noexcept { return handle != kNoHandle; }
    /// Closes the file in any case; closing a closed one does nothing.
    bool Close() noexcept;

    /// Reads until `byteCount` bytes are read or the file ends. Returns the bytes read, or -1.
    std::int64_t ReadAll(void* dst, std::size_t byteCount, std::int64_t position) noexcept;
    /// Writes all of the bytes; after a failure some of them may have been written.
    bool WriteAll(const void* src, std::size_t byteCount, std::int64_t position) noexcept;
    std::int64_t GetLength() noexcept;
    bool SetLength(std::int64_t length) noexcept;
    /// Returns when all of the file is on the device.
    bool Sync() noexcept;

private:
    static constexpr std::intptr_t kNoHandle = -1;
    static constexpr std::int64_t kInterrupted = -2;

    // One system call each; they may move fewer bytes than asked for, but none only at the file's end, and answer -1
    // after a failure and kInterrupted when the call is to be made again.
    std::int64_t ReadOnce(void* dst, std::size_t byteCount, std::int64_t position) noexcept;
    std::int64_t WriteOnce(const void* src, std::size_t byteCount, std::int64_t position) noexcept;

    std::intptr_t handle = kNoHandle;  // a file descriptor or a HANDLE
};

}  // namespace shr
