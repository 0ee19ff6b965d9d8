#pragma once
#include <cstdint>
#include <optional>
#include <vector>

#include "commands/MemoryLimit.h"
#include "shr/BufferedFile.h"
#include "shr/Color4b.h"
#include "shr/IProgress.h"

namespace tool {

/// Which class of bitmap an archive was made of: one in memory, one in memory that keeps reductions, one in a file, or
/// a reduction in such a file.
enum class ArchiveKind { plain, withReductions, file, level };

/// What an archive tells of one of its bitmaps before the tiles come.
struct ArchivedBitmap {
    BitmapShape shape{};
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;
    std::vector<shr::Color4b> colors;
    std::int64_t tilesAt = 0;  // where in the file they begin

    bool IsEmpty() const noexcept { return shape.width == 0 || shape.height == 0; }
};

struct ArchiveSurvey {
    ArchiveKind kind = ArchiveKind::plain;
    std::vector<ArchivedBitmap> bitmaps;  // the image, then its reductions
    bool storesReductions = false;        // or says that the bitmap, which keeps such, had none that were current
    bool hasTransparentPixels = false;    // of the image, if that was asked for
    std::uint64_t fileBytes = 0, bytesAfterArchive = 0;
};

// Both walk through an archive from its start, tile by tile; there is never more in memory than one tile. They raise
// std::runtime_error with a text for the user, and what `progress` throws.

/// For who is about to load the archive: decodes no block, and refuses an archive whose bitmaps have more than
/// `mostPixels` each, if that is given, or one of whose tiles memory cannot hold.
ArchiveSurvey SurveyForLoading(shr::CBufferedFile& file, std::optional<std::uint64_t> mostPixels,
                               shr::IProgress& progress);

/// For who wants to know what there is: of the pixels, only those are decoded that tell whether some are transparent.
ArchiveSurvey SurveyForInfo(shr::CBufferedFile& file, shr::IProgress& progress);

}  // namespace tool
