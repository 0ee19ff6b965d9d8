#pragma once
#include <optional>

#include "pictures/BitmapFacts.h"
#include "pictures/Metadata.h"
#include "pictures/Notes.h"
#include "pictures/PictureOptions.h"
#include "shr/BufferedFile.h"
#include "shr/IProgress.h"
#include "zbm/ZBitmap.h"

namespace tool {

/// All that a writer works with. What is referred to is borrowed. The bitmap is only read; it is not const because
/// tiles are locked.
struct PictureJob {
    zbm::ZBitmap& bitmap;
    BitmapFacts facts;
    shr::CBufferedFile& file;  // empty, at its start, open for reading and writing
    const Metadata& metadata;
    const WriteOptions& options;
    Notes& notes;
    shr::IProgress& progress;
    std::optional<shr::Color4b> background = {};  // what the bitmap is laid over, once that is decided
};

/// Encodes the bitmap into the file, in the representation of the file type that is closest to its format, row by row
/// from the tiles. What the file type cannot hold raises std::exception with a text for the user, or is noted where
/// only depth is lost. Throws what the job's progress throws.
using PictureWriter = void (*)(PictureJob& job);

/// The writer for the name's extension, whatever its case; null for any other extension.
PictureWriter WriterFor(const ZString& fileName);

// One a file type.
void WritePng(PictureJob& job);
void WriteJpeg(PictureJob& job);
void WriteTiff(PictureJob& job);
void WriteBmp(PictureJob& job);

// For writers, before they look at the bitmap: laying it over a background leaves no transparent pixel.

/// Over the background of the options, if there is one and the bitmap has an alpha channel or transparent pixels.
void FlattenIfAsked(PictureJob& job);
/// Over white, with a note, if there are transparent pixels still.
void FlattenOnWhite(PictureJob& job);

/// The note that grey levels lose their low bits.
void NoteReducedGrey(PictureJob& job, int bits);

}  // namespace tool
