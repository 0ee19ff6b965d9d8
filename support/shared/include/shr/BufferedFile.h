#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>

#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

enum class FileAccess : int { read = 1, write = 2, readWrite = 3 };

enum class FileMode : int {
    createNew = 1,     ///< must not exist
    create = 2,        ///< made new, or emptied if it exists
    openExisting = 3,  ///< must exist
    openAlways = 4,    ///< made if it does not exist, kept as it is if it does
};

/// What others may do with the file while it is open here, in this process and in any other that opens it through this
/// class (on Windows, in any process at all).
enum class FileSharing : int { none = 0, read = 1, write = 2, readWrite = 3 };

/// A file with 64-bit positions. Small reads and writes go through a buffer, large ones straight to the system; a read
/// or write is done whole or reported. The file is never mapped into memory.
///
/// Only regular files are opened; a folder, a device or a pipe is refused. Not copied; one thread at a time.
class SHR_API CBufferedFile {
public:
    CBufferedFile() noexcept;
    /// Closes as Close() does, but logs what goes wrong instead of throwing.
    ~CBufferedFile();
    CBufferedFile(CBufferedFile&&) noexcept;
    CBufferedFile& operator=(CBufferedFile&&) noexcept;
    CBufferedFile(const CBufferedFile&) = delete;
    CBufferedFile& operator=(const CBufferedFile&) = delete;

    /// Opens `name`; raises ERR_SHR_FILE_CREATE (modes createNew and create) or ERR_SHR_FILE_OPEN with the name and the
    /// system's text. An object that is open is closed first. A file that others hold in a way that does not allow this
    /// one is refused before anything of it is changed.
    ///
    /// `writeThrough`: each write of this object to the system reaches the device before it returns.
    void Open(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing, bool writeThrough = false);
    /// The same, but returns false instead of throwing; LastSystemError() then tells why.
    bool OpenNoThrow(const ZString& name, FileAccess access, FileMode mode, FileSharing sharing,
                     bool writeThrough = false) noexcept;
    bool IsOpen() const noexcept;
    /// The name as it was given to Open; empty while closed.
    const ZString& GetName() const noexcept;

    /// Reads at the position and advances it. Returns the bytes read: fewer than `byteCount` only at the file's end.
    /// Raises ERR_SHR_FILE_READ.
    std::size_t Read(void* dst, std::size_t byteCount);
    /// The same, but raises ERR_SHR_FILE_READ also when the file ends too early; the position then stays.
    void ReadExactly(void* dst, std::size_t byteCount);
    /// Writes at the position, extending the file, and advances it. Raises ERR_SHR_FILE_WRITE, and so does whichever
    /// call (Read, SetLength, Flush and Close among them) finds out that what was written earlier cannot leave the
    /// buffer. That is told once: the buffer is then dropped, and the object goes on without it.
    void Write(const void* src, std::size_t byteCount);

    /// Sets the position from the file's start; it may lie past the end. Raises ERR_SHR_FILE_SEEK if negative.
    void Seek(std::int64_t position);
    std::int64_t GetPosition() const noexcept;
    /// The file's length, buffered writes included.
    std::int64_t GetLength();
    /// Cuts or extends (with zeroes) the file to `length`; the position stays.
    void SetLength(std::int64_t length);

    /// Hands buffered writes to the system.
    void Flush();
    /// Flushes, and makes the system put the file on the device.
    void FlushToDevice();
    /// Flushes and closes. If the flush fails the file is closed all the same, and the error raised. Closing a closed
    /// file does nothing.
    void Close();
    /// Closes without writing what is still buffered, for a file that is deleted next. Raises ERR_SHR_FILE_WRITE if the
    /// system reports an error; the file is closed all the same.
    void Discard();

private:
    struct SHR_LOCAL State;
    std::unique_ptr<State> state;
};

}  // namespace shr
