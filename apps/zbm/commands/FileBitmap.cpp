#include "commands/FileBitmap.h"

#include <cstring>
#include <optional>

#include "ErrorContext.h"
#include "commands/MemoryLimit.h"
#include "commands/TemporaryFolder.h"
#include "pictures/RowConversion.h"
#include "shr/Path.h"

namespace tool {

namespace {

using Signature = char[45];  // with the zero byte at its end
constexpr Signature kSignature = "ZVSRFB{FC3D43BA-281B-4C12-9870-6FDCC9FAADF1}";
constexpr Signature kStoreSignature = "ZVSRFS{EFBEE140-81DC-4651-9A18-AAE60DC7ADD1}";

bool BeginsLike(PictureSource& source, const Signature& signature) {
    Signature start = {};
    const std::size_t length = source.Read(start, sizeof start);
    source.Seek(0);
    return length == sizeof start && std::memcmp(start, signature, length) == 0;
}

FileBitmapPtr MakeClosed() { return std::make_shared<zbm::ZScanRectFileBitmap>(L"", L"", false); }

}  // namespace

bool BeginsLikeFileBitmap(PictureSource& source) { return BeginsLike(source, kSignature); }
bool BeginsLikeLevel(PictureSource& source) { return BeginsLike(source, kStoreSignature); }

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
        // Reductions of indexed colours are made of a copy in true colours, which the library leaves there. It lies
        // beside the picture, as it may be larger than that.
        std::optional<TemporaryFolder> folder;
        if (IsIndexed(bitmap.GetColorFormat())) {
            folder.emplace(shr::CPath(bitmap.GetFileName()).GetFolder());
            names.push_back({folder->Name(), shownAs});
            bitmap.SetTempDir(folder->Name().Wide());
        }
        if (!bitmap.CommitAll(&progress, all)) throw shr::AbortException();
    };
    InContextOf(shownAs, build, names);
}

}  // namespace tool
