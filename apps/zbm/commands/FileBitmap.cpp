#include "commands/FileBitmap.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include "ErrorContext.h"
#include "commands/MemoryLimit.h"
#include "pictures/RowConversion.h"
#include "shr/Path.h"

namespace tool {

namespace {

constexpr char kSignature[] = "ZVSRFB{FC3D43BA-281B-4C12-9870-6FDCC9FAADF1}";  // with the zero byte at its end

constexpr wchar_t kCopyFolderEnding[] = L".d";

std::filesystem::path NativePath(const ZString& name) {
#ifdef _WIN32
    return name.Wide();
#else
    return name.ToUtf8();
#endif
}

FileBitmapPtr MakeClosed() { return std::make_shared<zbm::ZScanRectFileBitmap>(L"", L"", false); }

/// Raises std::runtime_error for a bitmap of which not even a row of tiles has room.
void RefuseBeyondMemoryOfARow(BitmapShape shape, std::uint64_t otherBytes) {
    shape.height = std::min(shape.height, shape.tileHeight);
    RefuseBeyondMemory(shape, otherBytes);
}

/// A folder for the copy in true colours that reductions of a palette bitmap are made of. The library leaves the copy
/// there; here it goes away with the folder. It lies beside the picture, as it may be larger than that.
class CopyFolder {
public:
    explicit CopyFolder(const ZString& besideFile)
        : name(shr::CPath(besideFile).GetFolder()), folder(NativePath(Name())) {
        if (!name.HasFile() || !std::filesystem::create_directory(folder))
            throw std::runtime_error("no folder can be made beside it, and reductions of indexed colours need one");
    }
    ~CopyFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    CopyFolder(const CopyFolder&) = delete;
    CopyFolder& operator=(const CopyFolder&) = delete;
    ZString Name() const { return shr::CPath::AppendDirSeparator(name.Name() + kCopyFolderEnding, true); }

private:
    shr::TempFile name;  // as long as it is there, nobody else has the name
    std::filesystem::path folder;
};

}  // namespace

void RemoveCopyFolder(const ZString& folder) {
    std::error_code ignored;
    const std::wstring& name = folder.Wide();
    if (!std::filesystem::remove(NativePath(folder), ignored)) return;
    shr::RemoveFile(ZString(name.substr(0, name.size() - std::wcslen(kCopyFolderEnding))));
}

bool BeginsLikeFileBitmap(PictureSource& source) {
    char start[sizeof kSignature] = {};
    const std::size_t length = source.Read(start, sizeof start);
    source.Seek(0);
    return length == sizeof start && std::memcmp(start, kSignature, length) == 0;
}

bool IsFileBitmap(const ZString& name) {
    return InContextOf(name, [&] {
        PictureSource source(name);
        return BeginsLikeFileBitmap(source);
    });
}

FileBitmapPtr OpenFileBitmap(const ZString& name, FileUse use) {
    if (!IsFileBitmap(name)) throw ToolError(name, "is no bitmap in a file (.zbf)");
    return InContextOf(name, [&] {
        FileBitmapPtr bitmap = MakeClosed();
        bitmap->Open(name, use == FileUse::read);
        RefuseBeyondMemoryOfARow({bitmap->GetPixelWidth(), bitmap->GetPixelHeight(), bitmap->GetColorFormat(),
                                  bitmap->GetScanRectWidth(), bitmap->GetScanRectHeight()},
                                 0);
        return bitmap;
    });
}

FileBitmapPtr MakeFileBitmap(const ZString& name, const Blank& blank) {
    const BitmapShape& shape = blank.shape;
    RefuseBeyondMemoryOfARow(shape, blank.otherBytes);
    FileBitmapPtr bitmap = MakeClosed();
    bitmap->CreateEmpty(name, shape.width, shape.height, shape.format);
    if (!blank.colors.empty()) bitmap->FillColorTable(blank.colors.data(), static_cast<unsigned>(blank.colors.size()));
    bitmap->ForgetResolution();
    bitmap->SetXResolution(blank.xPixelsPerMeter);
    bitmap->SetYResolution(blank.yPixelsPerMeter);
    return bitmap;
}

int LevelCount(zbm::ZBitmap& bitmap) {
    int count = 1;
    for (;; ++count) {
        const zbm::ZBitmap* const level = bitmap.GetPtrToPOTReduction(static_cast<unsigned>(count));
        if (level == nullptr || level == &bitmap) return count;
    }
}

void BuildLevels(zbm::ZScanRectFileBitmap& bitmap, Levels which, const ZString& shownAs, shr::IProgress& progress) {
    const bool all = which == Levels::all || LevelCount(bitmap) == 1;
    FileAliases names{{bitmap.GetFileName(), shownAs}};
    const auto build = [&] {
        std::optional<CopyFolder> folder;
        if (IsIndexed(bitmap.GetColorFormat())) {
            folder.emplace(bitmap.GetFileName());
            names.push_back({folder->Name(), shownAs});
            bitmap.SetTempDir(folder->Name().Wide());
        }
        if (!bitmap.CommitAll(&progress, all)) throw shr::AbortException();
    };
    InContextOf(shownAs, build, names);
}

}  // namespace tool
