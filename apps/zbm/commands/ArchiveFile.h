#pragma once
#include <cstdint>
#include <memory>

#include "Console.h"
#include "OutputFile.h"
#include "shr/IProgress.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zcdl/Codec.h"

namespace tool {

/// Writes the bitmap's archive, with nothing else in it. Of a bitmap in a file it has the tiles, each read when its
/// turn comes, and no reductions. Raises shr::Exception, and shr::AbortException when cancelled.
void StoreArchive(zbm::ZBitmap& bitmap, OutputFile& output, zcdl::CodecMethod method, shr::IProgress& progress);

/// Loads the bitmap of an archive file, which must have pixels. Notes bytes that follow the archive. Raises ToolError,
/// also for an archive with a damaged block, which the library itself would show as zeroes, and for one whose bitmaps
/// have more than `mostPixels`; shr::AbortException when cancelled.
std::unique_ptr<zbm::ZBasicMemBitmap> LoadArchive(const ZString& name, std::uint64_t mostPixels, Console& console,
                                                  shr::IProgress& progress);

/// Notes bytes that follow the archive, if there are any.
void NoteBytesAfterArchive(Console& console, const ZString& name, std::uint64_t byteCount);

}  // namespace tool
