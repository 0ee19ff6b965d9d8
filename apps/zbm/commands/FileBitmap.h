#pragma once
#include <memory>

#include "Console.h"
#include "commands/Workplace.h"
#include "pictures/PictureSource.h"
#include "shr/IProgress.h"
#include "zbm/ZScanRectFileBitmap.h"

// Bitmaps in files of their own: pictures of any size, of which a row of tiles at most is in memory.
namespace tool {

using FileBitmapPtr = std::shared_ptr<zbm::ZScanRectFileBitmap>;

/// Whether the file begins like one; it stands at its start then.
bool BeginsLikeFileBitmap(PictureSource& source);
/// Whether it begins like a level of one that lies in a file by itself; likewise.
bool BeginsLikeLevel(PictureSource& source);
bool IsFileBitmap(const ZString& name);

enum class FileUse { read, change };
/// Raises ToolError, also for a file that is none, and for one of which no memory holds a row of tiles.
FileBitmapPtr OpenFileBitmap(const ZString& name, FileUse use);
/// Makes a file of that name, or empties it, and opens it to be filled. Raises shr::Exception.
FileBitmapPtr MakeFileBitmap(const ZString& name, const Blank& blank);

/// How many there are, the bitmap itself as level 0 among them.
int LevelCount(zbm::ZBitmap& bitmap);
enum class Levels { stale, all };
/// Builds what is stale or not there; or all anew. Raises ToolError, in which the file is `shownAs`.
/// An indexed picture's are made of a copy in true colours, in a temporary folder beside it.
void BuildLevels(zbm::ZScanRectFileBitmap& bitmap, Levels which, const ZString& shownAs, shr::IProgress& progress);

}  // namespace tool
