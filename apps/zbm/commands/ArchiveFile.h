#pragma once
#include <cstdint>
#include <optional>

#include "Console.h"
#include "OutputFile.h"
#include "commands/Workplace.h"
#include "shr/IProgress.h"
#include "zcdl/Codec.h"

namespace tool {

/// Writes the bitmap's archive, with nothing else in it: that of one in memory. Of a bitmap in a file it has the tiles,
/// each read when its turn comes, and no reductions, unless it is paged and keeps some. Raises shr::Exception, and
/// shr::AbortException when cancelled.
void StoreArchive(zbm::ZBitmap& bitmap, OutputFile& output, zcdl::CodecMethod method, shr::IProgress& progress);

/// The bitmap of an archive file.
struct ArchivedPicture {
    BitmapPtr bitmap;
    bool hasReductions = false;  ///< the archive does
};

/// Loads it into the workplace; it must have pixels. Notes bytes that follow the archive. Raises ToolError, also for an
/// archive with a damaged block, which the library itself would show as zeroes, and for one whose bitmaps have more
/// than `mostPixels`, if that is given; shr::AbortException when cancelled.
ArchivedPicture LoadArchive(const ZString& name, std::optional<std::uint64_t> mostPixels, Workplace& place,
                            Console& console, shr::IProgress& progress);

/// Notes bytes that follow the archive, if there are any.
void NoteBytesAfterArchive(Console& console, const ZString& name, std::uint64_t byteCount);

}  // namespace tool
