#pragma once
#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// Whether a file or folder of that name exists and can be looked at. A trailing separator is allowed for a folder.
SHR_API bool PathExists(const ZString& path) noexcept;
SHR_API bool IsFolder(const ZString& path) noexcept;
/// Deletes a file; false if that fails (LastSystemError() tells why).
SHR_API bool RemoveFile(const ZString& name) noexcept;
/// Gives a file its new name, replacing a file of that name in one step, and returns when the device has the new name:
/// even after a crash it stands for the old file or for the new one (if that was flushed to the device before). False
/// if that fails (LastSystemError() tells why); both files are then as they were, or, if it was the device that failed
/// in the end, the new one has its name, but nobody knows for how long.
SHR_API bool RenameFile(const ZString& from, const ZString& to) noexcept;

/// The name with the links at its end followed, so that a new file can take the place of the file itself. A name that
/// cannot be followed is returned as it is.
SHR_API ZString FollowLinks(const ZString& name);
/// Gives `file`, which is ours alone, the permissions of the existing file `model`, or, when there is none, those that
/// a newly made file gets.
SHR_API void TakePermissions(const ZString& file, const ZString& model);

/// Work on names of files and folders.
class SHR_API CPath {
public:
    CPath();
    explicit CPath(const ZString& name);
    ~CPath();

    const ZString& GetPath() const noexcept { return path; }
    /// The part after the last separator.
    ZString GetFileName() const;
    /// The part up to and including the last separator; empty if there is none.
    ZString GetFolder() const;
    /// The file name's extension with its dot, as it stands; empty if there is none.
    ZString GetExtension() const;

    /// The system's folder for temporary files; with `appendSeparator` it ends with a separator.
    ZString GetTempPathW(bool appendSeparator) const;

    /// `path` with (`append`) or without one separator at its end. An empty path stays empty; a root keeps its
    /// separator.
    static ZString AppendDirSeparator(const ZString& path, bool append);

    /// Makes a new empty file "zv*.tmp" with a name that none had before, in `folder` (with or without a separator at
    /// its end; empty means the current one), readable by its owner only. Returns its path, or an empty name on
    /// failure.
    static ZString GetTempFilename(const ZString& folder);

private:
    ZString path;
};

}  // namespace shr
