#pragma once
#include <cstdint>
#include <vector>

#include "commands/MemoryLimit.h"
#include "shr/BufferedFile.h"
#include "shr/IProgress.h"

namespace tool {

/// Which class of bitmap an archive was made of.
enum class ArchiveKind { plain, withReductions };

/// What an archive tells of one of its bitmaps before the tiles come.
struct ArchivedBitmap {
    BitmapShape shape{};
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;
    std::uint32_t colors = 0;  // in its colour table

    bool IsEmpty() const noexcept { return shape.width == 0 || shape.height == 0; }
};

struct ArchiveSurvey {
    ArchiveKind kind = ArchiveKind::plain;
    std::vector<ArchivedBitmap> bitmaps;  // the image, then its reductions
    bool hasTransparentPixels = false;    // of the image, if that was asked for
    std::uint64_t fileBytes = 0, bytesAfterArchive = 0;
};

// Both walk through an archive from its start, tile by tile; there is never more in memory than one tile. They raise
// std::runtime_error with a text for the user, and what `progress` throws.

/// For who is about to load the archive: decodes no block, and refuses an archive whose bitmaps have more than
/// `mostPixels` each, or take together more than this machine's memory.
ArchiveSurvey SurveyForLoading(shr::CBufferedFile& file, std::uint64_t mostPixels, shr::IProgress& progress);

/// For who wants to know what there is: of the pixels, only those are decoded that tell whether some are transparent.
ArchiveSurvey SurveyForInfo(shr::CBufferedFile& file, shr::IProgress& progress);

}  // namespace tool
