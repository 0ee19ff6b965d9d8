#pragma once
#include <filesystem>
#include <memory>
#include <vector>

#include "shr/TempFile.h"
#include "shr/ZString.h"

namespace tool {

using shr::ZString;

/// A new folder for temporary bitmaps, readable by its owner only, and gone with the object, with all that is in it.
/// It is named "zv*.tmp.d": what a killed program leaves is swept under that name.
class TemporaryFolder {
public:
    /// Made in the folder `parent`. Raises std::runtime_error if it cannot be.
    explicit TemporaryFolder(const ZString& parent);
    /// Files in it must be closed. Needs no memory for those of NewFile.
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// With a separator at its end.
    const ZString& Name() const noexcept { return name; }
    /// A new empty file in it. Raises std::runtime_error if it cannot be made.
    shr::TempFile& NewFile();

private:
    shr::TempFile holder;  // as long as it is there, nobody else has the name
    ZString name;
    std::filesystem::path path;
    std::vector<std::unique_ptr<shr::TempFile>> files;
};

/// Removes such a folder, left by a program that was killed, if it is empty, and the file that kept its name.
void RemoveTemporaryFolder(const ZString& folder);

}  // namespace tool
