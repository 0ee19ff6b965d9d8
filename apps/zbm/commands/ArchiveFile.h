#pragma once
#include <cstdint>
#include <memory>

#include "Console.h"
#include "OutputFile.h"
#include "shr/IProgress.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zcdl/Codec.h"

namespace tool {

/// Makes the file the bitmap's archive, with nothing else in it, and commits it. Raises ToolError, and
/// shr::AbortException when cancelled.
void StoreArchive(zbm::ZBitmap& bitmap, OutputFile& output, zcdl::CodecMethod method, shr::IProgress& progress);

struct LoadedArchive {
    std::unique_ptr<zbm::ZBasicMemBitmap> bitmap;
    std::uint64_t fileBytes = 0;
};

/// Loads the bitmap of an archive file. Notes bytes that follow the archive. Raises ToolError, also for an archive with
/// a damaged block, which the library itself would show as zeroes; shr::AbortException when cancelled.
LoadedArchive LoadArchive(const ZString& name, Console& console, shr::IProgress& progress);

}  // namespace tool
