#pragma once
// Files that are measured on, in the system's folder of temporary files, which TMPDIR chooses on Linux.
#include <filesystem>
#include <string>

#include "zbm/ZScanRectFileBitmap.h"

namespace bench {

/// A name for a file, which is deleted at the end. `what` tells it from others of the process.
class ScratchFile {
public:
    explicit ScratchFile(const std::string& what);
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    zbm::ZString Name() const { return zbm::ZString(path.wstring()); }

    const std::filesystem::path path;
};

/// A bitmap in a file whose inner workings are measured by themselves. Filters take a longer way over derived classes:
/// they are measured on ZScanRectFileBitmap itself.
class OpenBitmap final : public zbm::ZScanRectFileBitmap {
public:
    OpenBitmap() : ZScanRectFileBitmap(L"", L"", false) {}
    using ZScanRectFileBitmap::WriteScanRect;

    /// As if no level had ever been built.
    void ForgetLevels();
};
/// The same, in a file.
void ForgetLevels(const ScratchFile& file);

}  // namespace bench
