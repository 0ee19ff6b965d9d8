#pragma once
#include "shr/Export.h"

namespace shr {

// For tests only: makes the system calls behind CBufferedFile, CPath, RemoveFile, RenameFile and CDib fail, so that
// what follows a failure can be tried at every single call. Without a hook each call costs one load of a pointer.

/// The kinds of calls. `query` asks for a file's length or kind; `lock` occurs on Linux only.
enum class FileCall { open, lock, query, read, write, truncate, sync, close, rename, remove };

/// Asked before each call, on the thread that makes it. When it returns true the call is not made but fails with EIO or
/// ERROR_WRITE_FAULT; a file to be closed is closed all the same.
using FileFaultHook = bool (*)(FileCall call);
/// Sets the hook of the whole process and returns the one before. Null switches it off.
SHR_API FileFaultHook SetFileFaultHook(FileFaultHook hook) noexcept;

/// What becomes of a read or a write.
enum class FileTransfer {
    whole,        ///< nothing unusual
    part,         ///< the system moves half of the bytes, at least one
    interrupted,  ///< a signal interrupts the call before anything is moved
    diskFull,     ///< it fails with ENOSPC or ERROR_DISK_FULL
    nothing,      ///< the system moves no bytes and gives no reason; a read takes that for the file's end
};
/// Asked before each read and each write that the hook above lets pass.
using FileTransferHook = FileTransfer (*)(FileCall call);
/// Sets the hook of the whole process and returns the one before. Null switches it off.
SHR_API FileTransferHook SetFileTransferHook(FileTransferHook hook) noexcept;

}  // namespace shr
