#pragma once
#include <cstdint>
#include <memory>
#include <optional>

#include "Console.h"
#include "OutputFile.h"
#include "Progress.h"
#include "commands/Workplace.h"
#include "pictures/PictureWriter.h"
#include "zcdl/Codec.h"

namespace tool {

/// A file to read.
struct Input {
    ZString name;
    ReadOptions reading;
    std::optional<std::uint64_t> memory;  ///< bytes of the largest bitmap that is held there; as fits if not given
};

/// What a file can be: a picture, an archive, or a bitmap in a file.
enum class FileType { picture, archive, bitmap };

/// A file to write, and as what.
struct Output {
    ZString name;
    FileType type = FileType::archive;
    PictureWriter writer = nullptr;  ///< of a picture
    WriteOptions writing;            ///< of pictures
    zcdl::CodecMethod method = zcdl::CodecMethod::balanced;
    bool isInPlace = false;  ///< no file is written: the input itself changes
};

/// A bitmap, and what its file told beside it; only picture files tell something.
struct Picture {
    BitmapPtr bitmap;
    Metadata metadata;
    bool hadReductions = false;
};

/// What the file begins like; an archive if like nothing else. Raises ToolError if it cannot be read.
FileType TypeOf(const ZString& name);

/// Where a command works on what it reads and writes: each bitmap in a file where that is what it writes, else in
/// memory as far as it fits. The output is borrowed.
std::unique_ptr<Workplace> WorkplaceFor(const Input& input, const Output& output, const OutputFile& file);

// These raise ToolError, and shr::AbortException when cancelled. The workplace outlives the pictures.

/// The picture file as a bitmap in the closest format.
Picture ReadPicture(const Input& input, TileSize tiles, Workplace& place, Console& console, ConsoleProgress& progress);
/// The bitmap of an archive file; or that of a bitmap's file, which is only read.
Picture ReadBitmap(const Input& input, Workplace& place, Console& console, ConsoleProgress& progress);
/// Of any file.
Picture ReadAny(const Input& input, Workplace& place, Console& console, ConsoleProgress& progress);

/// Writes the picture as what the output is to be, lets go of it, and commits the file.
void WritePicture(Picture picture, const Output& output, OutputFile& file, Workplace& place, Console& console,
                  ConsoleProgress& progress);

}  // namespace tool
