#pragma once
// Bitmaps in files with tiles of any size, and with their protected parts laid open.
#include <memory>
#include <string>
#include <vector>

#include "core/LockedTile.h"
#include "core/TileReading.h"
#include "support_code/FormulaPicture.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace testkit {

/// How filters run over a bitmap.
enum class Way { lineByLine, tileByTile };

class OpenFileBitmap : public zbm::ZScanRectFileBitmap {
public:
    OpenFileBitmap() : ZScanRectFileBitmap(L"", L"", false) {}
    using ZScanRectFileBitmap::BuildCurrentTempFilename;
    using ZScanRectFileBitmap::CleanUp;
    using ZScanRectFileBitmap::CommonCreate;
    using ZScanRectFileBitmap::CreateCleanUp;
    using ZScanRectFileBitmap::CreateSkeleton;
    using ZScanRectFileBitmap::currentTempFilename;
    using ZScanRectFileBitmap::file;
    using ZScanRectFileBitmap::fileInfoTable;
    using ZScanRectFileBitmap::GetInputBitmapScanLine;
    using ZScanRectFileBitmap::ReadScanRect;
    using ZScanRectFileBitmap::reductions;
    using ZScanRectFileBitmap::reductionsStale;
    using ZScanRectFileBitmap::SaveFileInfoTable;
    using ZScanRectFileBitmap::SetOutputBitmapScanLine;
    using ZScanRectFileBitmap::store;
    using ZScanRectFileBitmap::tempDir;
    using ZScanRectFileBitmap::version;
    using ZScanRectFileBitmap::WriteScanRect;
};

/// The class above is filtered line by line, since nobody knows how its tiles are reached; this one, which tells what
/// the library's own class tells, from tile to tile.
class OpenFileBitmapByTiles final : public OpenFileBitmap {
public:
    OpenFileBitmapByTiles() {
        static const zbm::ToldTileReading told(typeid(OpenFileBitmapByTiles),
                                               *zbm::FindTileReading(zbm::ZScanRectFileBitmap(L"", L"", false)));
    }
};

/// Commits the tiles of a bitmap of the same layout, and takes its colours and resolution.
inline void StoreAll(const zbm::ZBitmap& from, zbm::ZBitmap& to) {
    for (int row = 0; row < from.GetNumScanRectRows(); ++row)
        for (int col = 0; col < from.GetNumScanRects(row); ++col) {
            const zbm::LockedTile source(from, row, col), target(to, row, col);
            *target = *source;
            to.CommitScanRect(row, col);
        }
    to.FillColorTable(from.GetConstColorTablePtr(), from.GetNumColorTableItems());
    to.SetXResolution(from.GetXResolution());
    to.SetYResolution(from.GetYResolution());
}

/// A new file that holds the bitmap, in its own tiles.
template <class FileBitmap = OpenFileBitmap>
std::unique_ptr<FileBitmap> OnFile(const shr::ZString& name, const zbm::ZBitmap& bitmap) {
    auto onFile = std::make_unique<FileBitmap>();
    onFile->CreateSkeleton(name, bitmap.GetPixelHeight(), bitmap.GetPixelWidth(), bitmap.GetColorFormat(),
                           bitmap.GetScanRectHeight(), bitmap.GetScanRectWidth());
    StoreAll(bitmap, *onFile);
    return onFile;
}

/// A copy in memory, in the same tiles.
inline zbm::ZBasicMemBitmap InMemory(const zbm::ZBitmap& bitmap) {
    zbm::ZBasicMemBitmap copy(bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), bitmap.GetColorFormat(),
                              bitmap.GetScanRectWidth(), bitmap.GetScanRectHeight());
    StoreAll(bitmap, copy);
    return copy;
}

/// Whether a bitmap in a file agrees with another in layout, pixels, masks, colours and resolutions.
inline testing::AssertionResult IsEqual(const zbm::ZBitmap& onFile, const zbm::ZBitmap& expected) {
    return AreEqual(InMemory(onFile), expected);  // a tile of a file is read anew for each lock
}

}  // namespace testkit
