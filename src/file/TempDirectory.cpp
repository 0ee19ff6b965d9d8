// The process-wide folder of temporary bitmaps, and the sweep of what earlier runs have left there.
#include "core/checks/FileBitmapChecks.h"
#include "file/SignatureBlock.h"
#include "shr/BufferedFile.h"
#include "shr/FileFind.h"
#include "shr/Path.h"
#include "zbm/ZBMLib2.h"

namespace zbm {

namespace {

/// Empty, or with a separator at its end.
ZString& ChosenFolder() {
    static ZString folder;
    return folder;
}

/// Only what bears our signature: other programs name their files so, too. A file that is in use is not opened.
bool IsLeftoverBitmap(const ZString& path) {
    shr::CBufferedFile file;
    if (!file.OpenNoThrow(path, shr::FileAccess::readWrite, shr::FileMode::openExisting, shr::FileSharing::none))
        return false;
    try {
        return kFileBitmapSignature.ReadText(file);
    } catch (const shr::Exception&) { return false; }
}

}  // namespace

void SetGlobalFileBitmapTempDir(const ZString& dir) {
    const ZString path = shr::CPath::AppendDirSeparator(dir, true);
    require(shr::PathExists(path), FileBitmapCheck::newTempFolder, path);
    ChosenFolder() = path;
}

ZString GetGlobalFileBitmapTempDir() {
    const ZString& folder = ChosenFolder();
    if (folder.IsEmpty()) return shr::CPath().GetTempPathW(true);
    require(shr::PathExists(folder), FileBitmapCheck::tempFolder, folder);
    return folder;
}

void CleanGlobalFileBitmapTempDir() {
    namespace is = shr::FileAttribute;
    shr::CFileFind find(GetGlobalFileBitmapTempDir() + L"zv*.tmp");
    while (find.FindNextFileW()) {
        if (find.MatchesMask(is::folder | is::hidden | is::system | is::compressed)) continue;
        // One that was made this moment is empty, and its owner may be about to open it: we would be in the way.
        if (find.GetLength() != 0 && IsLeftoverBitmap(find.GetFilePath())) shr::RemoveFile(find.GetFilePath());
    }
}

}  // namespace zbm
