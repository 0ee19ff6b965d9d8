#include "commands/FileBitmap.h"

#include <algorithm>
#include <cstring>
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

std::filesystem::path NativePath(const ZString& name) {
#ifdef _WIN32
    return name.Wide();
#else
    return name.ToUtf8();
#endif
}

/// What the library keeps to itself.
class Insight final : public zbm::ZScanRectFileBitmap {
public:
    Insight() : ZScanRectFileBitmap(L"", L"", false) {}

    /// That a resolution is not known can only be taken over from a bitmap; so this one gives itself its own.
    void TakeDetails(const Blank& blank) {
        if (!blank.colors.empty()) FillColorTable(blank.colors.data(), static_cast<unsigned>(blank.colors.size()));
        xResolution = blank.xPixelsPerMeter;
        yResolution = blank.yPixelsPerMeter;
        TakeResolution(*this, *store);
    }
    bool HasStaleLevels() const { return reductionsStale; }
};

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
    ZString Name() const { return shr::CPath::AppendDirSeparator(name.Name() + L".d", true); }

private:
    shr::TempFile name;  // as long as it is there, nobody else has the name
    std::filesystem::path folder;
};

}  // namespace

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
    {
        Insight maker;
        maker.CreateEmpty(name, shape.width, shape.height, shape.format);
        maker.TakeDetails(blank);
        maker.Close();
    }
    FileBitmapPtr bitmap = MakeClosed();
    bitmap->Open(name, false);
    return bitmap;
}

int LevelCount(zbm::ZBitmap& bitmap) {
    int count = 1;
    for (;; ++count) {
        const zbm::ZBitmap* const level = bitmap.GetPtrToPOTReduction(static_cast<unsigned>(count));
        if (level == nullptr || level == &bitmap) return count;
    }
}

bool AreLevelsStale(const ZString& fileName) {
    return InContextOf(fileName, [&] {
        Insight bitmap;
        bitmap.Open(fileName, true);
        return bitmap.HasStaleLevels();
    });
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
