#pragma once
#include <cstdint>
#include <memory>

#include "Console.h"
#include "shr/IProgress.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zcdl/Codec.h"

namespace tool {

/// Stores the bitmap in a new file of that name: its archive and nothing else. An existing file is replaced only when
/// the new one is whole. Raises ToolError, and shr::AbortException when cancelled.
void StoreArchive(zbm::ZBitmap& bitmap, const ZString& name, zcdl::CodecMethod method, shr::IProgress& progress);

struct LoadedArchive {
    std::unique_ptr<zbm::ZBasicMemBitmap> bitmap;
    std::uint64_t fileBytes = 0;
};

/// Loads the bitmap of an archive file. Notes bytes that follow the archive. Raises ToolError, also for an archive with
/// a damaged block, which the library itself would show as zeroes; shr::AbortException when cancelled.
LoadedArchive LoadArchive(const ZString& name, Console& console, shr::IProgress& progress);

}  // namespace tool
