#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "pictures/Metadata.h"
#include "pictures/Notes.h"
#include "pictures/PictureSource.h"
#include "pictures/TileRows.h"
#include "shr/Color4b.h"
#include "shr/ColorFormat.h"
#include "shr/IProgress.h"

namespace tool {

/// What has to be known of a picture to make the bitmap that receives it.
struct PictureInfo {
    int width = 0, height = 0;  // as the pixels lie in the file
    /// The closest of the bitmaps' formats.
    shr::ColorFormat format = shr::FORMAT_NONE;
    std::vector<shr::Color4b> colorTable;          // of an indexed format
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;  // 0 is not known
    Metadata metadata;
    /// Memory that the decoder needs for a picture of this kind beside the bitmap, where that grows with its area.
    std::uint64_t decoderBytes = 0;
};

/// What it is once the picture is turned upright.
PictureInfo Upright(PictureInfo info);

/// Decodes one picture, streaming: beside the bitmap there is never more of it in memory than a few rows, or what the
/// file's own tiles and strips take.
///
/// What is wrong with the file is raised as std::exception with a text for the user, without the file's name; what the
/// bitmap cannot hold, or what a library finds odd, goes to the notes.
class PictureReader {
public:
    virtual ~PictureReader() = default;
    virtual const PictureInfo& Info() const = 0;
    /// Fills all rows of a bitmap made after Info(): as they lie in the file, or turned upright by `rows`. To be called
    /// once.
    virtual void ReadInto(TileRows& rows, shr::IProgress& progress) = 0;

protected:
    PictureReader() = default;
    PictureReader(const PictureReader&) = default;
    PictureReader& operator=(const PictureReader&) = default;
};

/// The type of picture that the file begins like, such as "PNG"; null for none that can be read.
const char* PictureTypeOf(PictureSource& source);
inline bool BeginsLikePicture(PictureSource& source) { return PictureTypeOf(source) != nullptr; }
/// The reader for the file's content, told by its first bytes. `source` and `notes` are borrowed.
std::unique_ptr<PictureReader> OpenPicture(PictureSource& source, Notes& notes);

// One a file type. They read from the file's start.
std::unique_ptr<PictureReader> OpenPng(PictureSource& source, Notes& notes);
std::unique_ptr<PictureReader> OpenJpeg(PictureSource& source, Notes& notes);
std::unique_ptr<PictureReader> OpenTiff(PictureSource& source, Notes& notes);
std::unique_ptr<PictureReader> OpenBmp(PictureSource& source, Notes& notes);

/// Notes that inks are converted to colours, for which the picture's profile means nothing; it is dropped.
void NotePlainConversion(PictureInfo& info, Notes& notes);
/// The note that samples lose their low bits.
void NoteReducedDepth(Notes& notes);

}  // namespace tool
