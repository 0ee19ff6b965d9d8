#pragma once
#include <filesystem>

#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// A new file that is to become another one, or to go away: it is removed with the object unless it was renamed.
/// Removing it takes no memory, so that it is not left behind where there is none.
class SHR_API TempFile {
public:
    /// Makes the empty file "<start>zv*.tmp", with a name that none had before, in `folder` (with or without a
    /// separator at its end; empty means the current one), readable by its owner only. If that fails, the object has no
    /// file, and LastSystemError() tells why. Raises std::bad_alloc and what std::random_device raises.
    explicit TempFile(const ZString& folder, const ZString& start = {});
    ~TempFile();
    TempFile(const TempFile&) = delete;
    TempFile& operator=(const TempFile&) = delete;

    bool HasFile() const noexcept { return !nativeName.empty(); }
    /// Its path; stays what it was when the file is gone.
    const ZString& Name() const noexcept { return name; }
    /// Gives the file, closed, the name of `target`, which is replaced in one step, as RenameFile does. False if that
    /// fails.
    bool Rename(const ZString& target) noexcept;

private:
    ZString name;
    std::filesystem::path::string_type nativeName;  // empty where there is no file
};

}  // namespace shr
