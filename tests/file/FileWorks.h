#pragma once
// All that is done with bitmaps in files, each with what must hold when something fails in the middle: for tests that
// let calls and requests for memory fail one by one.
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "file/FileBitmapTesting.h"
#include "shr/Archive.h"
#include "shr/ScopeExit.h"
#include "zbm/IndexedColors.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZCachedBitmap.h"
#include "zpixf/ZPixfConvolution.h"

namespace testkit {

enum class Came { toItsEnd, toAnError };

/// Pictures, files and an object to work on.
class FileWorkplace {
public:
    FileWorkplace(const shr::ZString& pictureFile, const shr::ZString& otherFile, Way way)
        : name(pictureFile), other(otherFile) {
        if (way == Way::tileByTile) bitmap = std::make_unique<OpenFileBitmapByTiles>();
    }

    const shr::ZString name, other;
    zbm::ZBasicMemBitmap picture = FormulaBitmap(70, 60, shr::BGR_24, 30, 25);
    zbm::ZBasicMemBitmap changed = Brightened();
    zbm::ZBasicMemBitmap changedInFile = InTilesOf512(changed);
    bool canDelete = true;  ///< whether what fails leaves it possible to delete a file
    std::unique_ptr<OpenFileBitmap> bitmap = std::make_unique<OpenFileBitmap>();
    std::unique_ptr<zbm::ZCachedBitmap> cached = std::make_unique<zbm::ZCachedBitmap>(L"", L"", false);
    std::unique_ptr<zbm::ZCachedBitmap> otherCached = std::make_unique<zbm::ZCachedBitmap>(L"", L"", false);
    std::vector<std::uint8_t> archive;
    Bytes expectedFile;                                  ///< what a creation makes
    std::optional<zbm::ZBasicMemBitmap> expectedCached;  ///< the same, on a temporary file

    ~FileWorkplace() {
        cached.reset();
        otherCached.reset();
        for (const auto& entry :
             std::filesystem::directory_iterator(shr::test::SystemPath(zbm::GetGlobalFileBitmapTempDir())))
            std::filesystem::remove(entry);
    }
    FileWorkplace(const FileWorkplace&) = delete;
    FileWorkplace& operator=(const FileWorkplace&) = delete;

    /// The picture in a new file, without levels.
    void MakeFile() const {
        bitmap->CreateSkeleton(name, picture.GetPixelHeight(), picture.GetPixelWidth(), picture.GetColorFormat(),
                               picture.GetScanRectHeight(), picture.GetScanRectWidth());
        StoreAll(picture, *bitmap);
    }
    /// The picture in its file, with levels.
    void WriteFile() {
        auto onFile = OnFile(name, picture);
        ASSERT_TRUE(onFile->CommitAll(nullptr));
        onFile->Close();
    }
    void OpenFile(bool readOnly = false) {
        WriteFile();
        bitmap->Open(name, readOnly);
    }

private:
    static zbm::ZBasicMemBitmap InTilesOf512(const zbm::ZBasicMemBitmap& bitmap) {
        zbm::ZBasicMemBitmap copy(bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), bitmap.GetColorFormat());
        for (int y = 0; y < bitmap.GetPixelHeight(); ++y)
            for (int x = 0; x < bitmap.GetPixelWidth(); ++x) {
                SetPixel(copy, x, y, GetPixel(bitmap, x, y));
                SetMask(copy, x, y, GetMask(bitmap, x, y));
            }
        copy.SetXResolution(bitmap.GetXResolution());
        copy.SetYResolution(bitmap.GetYResolution());
        return copy;
    }
    zbm::ZBasicMemBitmap Brightened() {
        zbm::ZBasicMemBitmap bright = picture;
        EXPECT_TRUE(bright.ChangeBrightness(0.3, nullptr));
        return bright;
    }
};

struct FileWork {
    const char* name;
    void (*prepare)(FileWorkplace& place);
    void (*act)(FileWorkplace& place);
    void (*check)(FileWorkplace& place, Came came);
    Way way = Way::lineByLine;  ///< that filters run over the object
};
inline void PrintTo(const FileWork& work, std::ostream* out) { *out << work.name; }

namespace works {

inline void Nothing(FileWorkplace&) {}

inline testing::AssertionResult IsOnFile(const shr::ZString& name, const zbm::ZBitmap& expected) {
    OpenFileBitmap opened;
    opened.Open(name, true);
    return IsEqual(opened, expected);
}

/// A file that could not even be deleted, for want of memory, does not open, or it is empty.
inline bool HoldsAPicture(const shr::ZString& name) {
    OpenFileBitmap bitmap;
    try {
        bitmap.Open(name, true);
    } catch (const shr::Exception&) { return false; }
    return GetPixel(bitmap, 0, 1) != 0;
}

/// The formula's picture as it stands in a file that is made here.
inline zbm::ZBasicMemBitmap InFileTiles(const zbm::ZBasicMemBitmap& picture) {
    return FormulaBitmap(picture.GetPixelWidth(), picture.GetPixelHeight(), picture.GetColorFormat(), 512, 512);
}

// ---- Creations.

inline void CreateZeros(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, 70, 60, shr::BGR_24, nullptr));
}
inline void CreateEmpty(FileWorkplace& place) { place.bitmap->CreateEmpty(place.other, 70, 60, shr::BGR_24); }
inline const BITMAPINFOHEADER kDibHeader{40, 70, 60, 1, 8, BI_RGB, 0, 0, 0, 256, 0};
inline const std::vector<std::uint8_t> kDibBits(72 * 60, 0x5A);
inline const std::vector<RGBQUAD> kDibColors(256, RGBQUAD{1, 2, 3, 0});
inline void CreateFromDib(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, &kDibHeader, kDibBits.data(), kDibColors.data(), nullptr));
}
inline void CreateCopy(FileWorkplace& place) { EXPECT_TRUE(place.bitmap->Create(place.other, place.picture, nullptr)); }
inline void CreateCopyOfTiles(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, place.changedInFile, nullptr));
}
inline void CreateInFormat(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, shr::INDEXED_8, place.picture, nullptr));
}
inline void CreateAtSize(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, 35, 60, place.picture, {0, 0, 70, 60}, zbm::ResizeBilinear, nullptr));
}
inline void CreateInTrueColors(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, shr::BGRA_32, place.changedInFile, nullptr));
}
inline void CreateHalf(FileWorkplace& place) {
    const RECT whole{0, 0, 70, 60};
    EXPECT_TRUE(place.bitmap->Create(place.other, 35, 30, place.changedInFile, whole, zbm::ResizeBilinear, nullptr));
}
inline void CreateOfNearest(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Create(place.other, 99, 40, place.picture, {0, 0, 70, 60}, zbm::ResizePlain, nullptr));
}

/// Notes what `create` makes when nothing fails.
template <auto create>
void ExpectFileOf(FileWorkplace& place) {
    create(place);
    place.bitmap->Close();
    place.expectedFile = ReadWhole(place.other);
    std::filesystem::remove(shr::test::SystemPath(place.other));
}

/// A creation leaves its whole file or none, and can be had again.
inline void CheckCreated(FileWorkplace& place, Came came) {
    if (came == Came::toAnError) {
        EXPECT_TRUE(IsClosed(*place.bitmap) || place.bitmap->IsEmpty());
        EXPECT_FALSE(shr::PathExists(place.other) && (place.canDelete || HoldsAPicture(place.other)));
    } else {
        EXPECT_TRUE(place.bitmap->IsFileOpen());
        place.bitmap->Close();
        EXPECT_EQ(ReadWhole(place.other), place.expectedFile);
    }
    EXPECT_TRUE(place.bitmap->Create(place.other, place.picture, nullptr));
    EXPECT_TRUE(IsEqual(*place.bitmap, InFileTiles(place.picture)));
}

inline void OpenLargerFileForReading(FileWorkplace& place) {
    place.picture = FormulaBitmap(200, 200, shr::BGR_24, 100, 100);  // more than a buffer holds
    place.OpenFile(true);
}
/// An opening changes nothing.
inline void CheckOpened(FileWorkplace& place, Came came) {
    const bool isClosed = IsClosed(*place.bitmap) || place.bitmap->IsEmpty();
    EXPECT_TRUE(came == Came::toAnError ? isClosed : IsEqual(*place.bitmap, place.picture));
    place.bitmap->Close();
    EXPECT_TRUE(IsOnFile(place.name, place.picture));
}

/// What is open stays so and has each pixel as it was or as it will be; the work can be done again.
inline void CheckChanged(FileWorkplace& place, Came came, const zbm::ZBitmap& after, void (*act)(FileWorkplace&)) {
    place.bitmap->UnlockAllScanRects();
    const zbm::ZBasicMemBitmap found = InMemory(*place.bitmap);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 70; ++x) {
            const std::uint32_t pixel = GetPixel(found, x, y);
            const bool isNew = pixel == GetPixel(after, x, y);
            ASSERT_TRUE(isNew || (came == Came::toAnError && pixel == GetPixel(place.picture, x, y))) << x << ", " << y;
            ASSERT_EQ(GetMask(found, x, y), FormulaMask(x, y));
        }
    StoreAll(place.picture, *place.bitmap);
    act(place);
    EXPECT_TRUE(IsEqual(*place.bitmap, after));
    EXPECT_TRUE(place.bitmap->CommitAll(nullptr));
    place.bitmap->Close();
    EXPECT_TRUE(IsOnFile(place.name, after));
}

inline void Brighten(FileWorkplace& place) { EXPECT_TRUE(place.bitmap->ChangeBrightness(0.3, nullptr)); }
inline void CommitTile(FileWorkplace& place) {
    const zbm::LockedTile tile(*place.bitmap, 1, 1);
    *tile = place.changed.LockScanRect(1, 1);
    place.bitmap->CommitScanRect(1, 1);
}
/// A filter that reads several lines for one, and so goes by whole rows of tiles.
inline void Blur(FileWorkplace& place) {
    EXPECT_TRUE(place.bitmap->Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr));
}
inline void CheckBlurred(FileWorkplace& place, Came came) {
    zbm::ZBasicMemBitmap after = place.picture;
    EXPECT_TRUE(after.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr));
    CheckChanged(place, came, after, Blur);
}
/// Over the borders of tiles.
inline const std::vector<std::uint8_t> kRegion(40 * 30 * 3, 0xA5);
inline void StoreRegion(FileWorkplace& place) { place.bitmap->StoreRegion(kRegion.data(), 120, 20, 15, 40, 30); }
inline void CheckRegion(FileWorkplace& place, Came came) {
    zbm::ZBasicMemBitmap after = place.picture;
    after.StoreRegion(kRegion.data(), 120, 20, 15, 40, 30);
    CheckChanged(place, came, after, StoreRegion);
}

inline void OpenFileOfIndices(FileWorkplace& place) {
    place.picture = FormulaBitmap(70, 60, shr::INDEXED_8, 30, 25);
    place.OpenFile();
}
inline void SetColors(FileWorkplace& place) {
    const std::vector<shr::Color4b> colors(200, shr::Color4b(9, 8, 7));
    place.bitmap->FillColorTable(colors.data(), 200);
}
inline void SetResolutions(FileWorkplace& place) {
    place.bitmap->SetXResolution(4711);
    place.bitmap->SetYResolution(4712);
    place.bitmap->Save();
}
/// Colours and resolutions are as they were or as they will be, and pixels are what they were.
template <auto act>
void CheckHeader(FileWorkplace& place, Came) {
    zbm::ZBasicMemBitmap after = place.picture;
    const unsigned colors = place.bitmap->GetNumColorTableItems();
    EXPECT_TRUE(colors == 200 || colors == 256);
    act(place);
    place.bitmap->Close();
    OpenFileBitmap opened;
    opened.Open(place.name, true);
    after.FillColorTable(opened.GetConstColorTablePtr(), opened.GetNumColorTableItems());
    EXPECT_EQ(opened.GetNumColorTableItems(), act == SetColors ? 200u : 256u);
    after.SetXResolution(act == SetResolutions ? 4711 : place.picture.GetXResolution());
    after.SetYResolution(act == SetResolutions ? 4712 : place.picture.GetYResolution());
    EXPECT_TRUE(IsEqual(opened, after));
}

inline const zbm::IndexedColors kFewColors{.most = 9, .dither = zbm::Dither::diffusion};
inline void BecomeIndexed(FileWorkplace& place) {
    zbm::ConvertToIndexed(place.changed, *place.bitmap, kFewColors, nullptr);
}
inline void CheckIndexed(FileWorkplace& place, Came came) {
    zbm::ZBasicMemBitmap after = place.picture;
    zbm::ConvertToIndexed(place.changed, after, kFewColors, nullptr);
    CheckChanged(place, came, after, BecomeIndexed);
}
/// What fails leaves the result without the colours that its pixels would have.
inline void ConvertToIndexed(FileWorkplace& place) {
    zbm::ZBasicMemBitmap result(200, 200, shr::INDEXED_4, 90, 60);
    const unsigned formerColors = result.GetNumColorTableItems();
    shr::ScopeExit checkColors([&] { EXPECT_EQ(result.GetNumColorTableItems(), formerColors); });
    zbm::ConvertToIndexed(*place.bitmap, result, kFewColors, nullptr);
    checkColors.Release();
    EXPECT_EQ(result.GetNumColorTableItems(), 9u);
}

inline void BuildLevels(FileWorkplace& place) { EXPECT_TRUE(place.bitmap->CommitAll(nullptr, true)); }

inline void CheckLevels(FileWorkplace& place, Came came) {
    EXPECT_TRUE(IsEqual(*place.bitmap, place.picture));
    EXPECT_EQ(place.bitmap->reductionsStale, came == Came::toAnError);
    EXPECT_TRUE(place.bitmap->CommitAll(nullptr));
    EXPECT_EQ(place.bitmap->reductions.size(), 1u);
    place.bitmap->Close();
    EXPECT_TRUE(IsOnFile(place.name, place.picture));
}

/// Levels of another size than ours have, which are dropped first.
inline void OpenFileWithOtherLevels(FileWorkplace& place) {
    OnFile(place.name, place.picture)->Close();
    Bytes bytes = ReadWhole(place.name);
    const Bytes head = BitmapHead({kFirstStore, static_cast<std::int64_t>(bytes.size())});
    std::copy(head.begin(), head.end(), bytes.begin());
    WriteWhole(place.name, FileImage().Add(bytes).Add(StoreImage({37, 91, 512, 512, 9}, {{0}})).Take());
    place.bitmap->Open(place.name, false);
}
inline void CheckRebuiltLevels(FileWorkplace& place, Came came) {
    EXPECT_TRUE(IsEqual(*place.bitmap, place.picture));
    EXPECT_EQ(place.bitmap->reductionsStale, came == Came::toAnError);
    EXPECT_TRUE(place.bitmap->CommitAll(nullptr, true));
    EXPECT_EQ(place.bitmap->reductions.at(0)->GetPixelWidth(), 35);
    place.bitmap->Close();
    EXPECT_TRUE(IsOnFile(place.name, place.picture));
}

// ---- Archives.

inline void StoreInArchive(FileWorkplace& place, zbm::ZBitmap& bitmap) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, true, zcdl::CodecMethod::stored);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    place.archive = archive.Bytes();
}
inline void LoadFromArchive(FileWorkplace& place, zbm::ZBitmap& bitmap) {
    shr::MemoryArchive archive(place.archive);
    zbm::SerializeIO io(archive, true);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
}
/// The picture in an archive, levels and all, and another picture in the file.
inline void PrepareLoad(FileWorkplace& place) {
    place.OpenFile();
    StoreInArchive(place, *place.bitmap);
    OnFile(place.other, place.changed)->Close();
    place.bitmap->Open(place.other, false);
}
/// A load leaves the file as it was, or with the new picture, and can be had again.
inline void CheckLoaded(FileWorkplace& place, Came came) {
    const zbm::ZBasicMemBitmap loaded = InFileTiles(place.picture);
    if (came == Came::toItsEnd) {
        EXPECT_TRUE(IsEqual(*place.bitmap, loaded));
    } else {
        EXPECT_TRUE(IsClosed(*place.bitmap) || IsEqual(*place.bitmap, place.changed));
    }
    place.bitmap->Close();
    EXPECT_TRUE(IsOnFile(place.other, loaded) || IsOnFile(place.other, place.changed));
    std::filesystem::remove(shr::test::SystemPath(place.other));
    LoadFromArchive(place, *place.bitmap);
    EXPECT_TRUE(IsEqual(*place.bitmap, loaded));
    EXPECT_EQ(place.bitmap->reductions.size(), 1u);
}

// ---- Bitmaps on temporary files.

inline std::size_t TemporaryFiles() { return shr::test::Entries(zbm::GetGlobalFileBitmapTempDir()).size(); }
/// A picture that a creation takes the place of.
inline void PrepareCached(FileWorkplace& place) { EXPECT_TRUE(place.cached->Create(place.changed, nullptr)); }

/// The same, once what `create` makes when nothing fails is noted.
template <auto create>
void ExpectCachedOf(FileWorkplace& place) {
    create(place);
    place.expectedCached.emplace(InMemory(*place.cached));
    PrepareCached(place);
}
inline void CachedCreateZeros(FileWorkplace& place) { EXPECT_TRUE(place.cached->Create(70, 60, shr::BGR_24, nullptr)); }
inline void CachedCreateEmpty(FileWorkplace& place) { place.cached->CreateEmpty(70, 60, shr::BGR_24); }
inline void CachedCreateFromDib(FileWorkplace& place) {
    EXPECT_TRUE(place.cached->Create(&kDibHeader, kDibBits.data(), kDibColors.data(), nullptr));
}
inline void CachedCreateCopy(FileWorkplace& place) { EXPECT_TRUE(place.cached->Create(place.picture, nullptr)); }
inline void CachedCreateInFormat(FileWorkplace& place) {
    EXPECT_TRUE(place.cached->Create(shr::INDEXED_8, place.picture, nullptr));
}
inline void CachedCreateAtSize(FileWorkplace& place) {
    EXPECT_TRUE(place.cached->Create(35, 60, place.picture, {0, 0, 70, 60}, zbm::ResizeBilinear, nullptr));
}

/// At most the file that could not be deleted is left.
inline void CheckUsable(FileWorkplace& place) {
    EXPECT_TRUE(place.cached->Create(place.picture, nullptr));
    EXPECT_TRUE(IsEqual(*place.cached, InFileTiles(place.picture)));
    place.cached.reset();
    place.otherCached.reset();
    EXPECT_LE(TemporaryFiles(), place.canDelete ? 1u : 2u);
}
inline bool HasFormerPicture(FileWorkplace& place) {
    return place.cached->IsFileOpen() && IsEqual(*place.cached, place.changedInFile);
}
/// A creation leaves its picture, or none, or the former one if it did not even begin.
inline void CheckCached(FileWorkplace& place, Came came) {
    if (came == Came::toItsEnd) {
        EXPECT_TRUE(IsEqual(*place.cached, place.expectedCached.value()));
    } else {
        EXPECT_TRUE(!place.cached->IsFileOpen() || HasFormerPicture(place));
    }
    CheckUsable(place);
}

inline void PrepareCachedLoad(FileWorkplace& place) {
    place.OpenFile();
    StoreInArchive(place, *place.bitmap);
    PrepareCached(place);
}
/// A load leaves one pixel, or no file where none could be made.
inline void CheckCachedLoad(FileWorkplace& place, Came came) {
    if (came == Came::toItsEnd) {
        EXPECT_TRUE(IsEqual(*place.cached, InFileTiles(place.picture)));
    } else {
        EXPECT_TRUE(place.cached->GetPixelWidth() <= 1 || HasFormerPicture(place));
    }
    LoadFromArchive(place, *place.cached);
    EXPECT_TRUE(IsEqual(*place.cached, InFileTiles(place.picture)));
    CheckUsable(place);
}

inline void PrepareChangeFrom(FileWorkplace& place) {
    PrepareCached(place);
    EXPECT_TRUE(place.otherCached->Create(place.picture, nullptr));
    SetAndCommit(*place.otherCached, 3, 3, 0x010203);
}
/// The picture is in one of both, or in the file that is the other's, where nothing could be opened.
inline void CheckChangeFrom(FileWorkplace& place, Came came) {
    zbm::ZBasicMemBitmap expected = InFileTiles(place.picture);
    SetPixel(expected, 3, 3, 0x010203);
    if (came == Came::toItsEnd) {
        EXPECT_TRUE(IsEqual(*place.cached, expected));
        EXPECT_EQ(place.otherCached->GetPixelWidth(), 1);
    } else if (place.otherCached->IsFileOpen()) {
        EXPECT_TRUE(IsEqual(*place.otherCached, expected));
    } else {
        if (!place.cached->IsFileOpen()) place.cached->Open(place.otherCached->GetCurrentTempFilename(), false);
        EXPECT_TRUE(IsEqual(*place.cached, expected));
    }
    CheckUsable(place);
}

}  // namespace works

inline const FileWork kFileWorks[] = {
    {"CreateZeros", works::ExpectFileOf<works::CreateZeros>, works::CreateZeros, works::CheckCreated},
    {"CreateEmpty", works::ExpectFileOf<works::CreateEmpty>, works::CreateEmpty, works::CheckCreated},
    {"CreateFromDib", works::ExpectFileOf<works::CreateFromDib>, works::CreateFromDib, works::CheckCreated},
    {"CreateCopy", works::ExpectFileOf<works::CreateCopy>, works::CreateCopy, works::CheckCreated},
    {"CreateCopyOfTiles", works::ExpectFileOf<works::CreateCopyOfTiles>, works::CreateCopyOfTiles, works::CheckCreated},
    {"CreateInFormat", works::ExpectFileOf<works::CreateInFormat>, works::CreateInFormat, works::CheckCreated},
    {"CreateAtSize", works::ExpectFileOf<works::CreateAtSize>, works::CreateAtSize, works::CheckCreated},
    {"Open", [](auto& place) { place.WriteFile(); }, [](auto& place) { place.bitmap->Open(place.name, false); },
     works::CheckOpened},
    {"OpenForReading", [](auto& place) { place.WriteFile(); },
     [](auto& place) { place.bitmap->Open(place.name, true); }, works::CheckOpened},
    {"ReadTile", works::OpenLargerFileForReading,
     [](auto& place) { EXPECT_EQ(GetPixel(*place.bitmap, 199, 0), GetPixel(place.picture, 199, 0)); },
     [](auto& place, Came) { works::CheckOpened(place, Came::toItsEnd); }},
    {"WriteTileOver", [](auto& place) { place.OpenFile(); }, works::CommitTile,
     [](auto& place, Came came) {
         zbm::ZBasicMemBitmap after = place.picture;
         after.LockScanRect(1, 1) = place.changed.LockScanRect(1, 1);
         works::CheckChanged(place, came, after, works::CommitTile);
     }},
    {"WriteTileFirst", [](auto& place) { place.bitmap->CreateSkeleton(place.name, 60, 70, shr::BGR_24, 25, 30); },
     works::CommitTile,
     [](auto& place, Came came) {
         place.bitmap->UnlockAllScanRects();
         const std::uint32_t written = GetPixel(place.changed, 40, 40);
         EXPECT_EQ(GetPixel(*place.bitmap, 40, 40), came == Came::toAnError ? 0 : written);
         StoreAll(place.picture, *place.bitmap);
         EXPECT_TRUE(IsEqual(*place.bitmap, place.picture));
         place.bitmap->Close();
         EXPECT_TRUE(works::IsOnFile(place.name, place.picture));
     }},
    {"FilterInPlace", [](auto& place) { place.OpenFile(); }, works::Brighten,
     [](auto& place, Came came) { works::CheckChanged(place, came, place.changed, works::Brighten); }},
    {"FilterByRowsInPlace", [](auto& place) { place.OpenFile(); }, works::Blur, works::CheckBlurred},
    {"StoreRegion", [](auto& place) { place.OpenFile(); }, works::StoreRegion, works::CheckRegion},
    {"SetColors", works::OpenFileOfIndices, works::SetColors, works::CheckHeader<works::SetColors>},
    {"SetResolutions", works::OpenFileOfIndices, works::SetResolutions, works::CheckHeader<works::SetResolutions>},
    {"BecomeIndexed", works::OpenFileOfIndices, works::BecomeIndexed, works::CheckIndexed},
    {"ConvertToIndexed", works::OpenLargerFileForReading, works::ConvertToIndexed,
     [](auto& place, Came) { works::CheckOpened(place, Came::toItsEnd); }},
    {"BuildLevels", [](auto& place) { place.MakeFile(); }, works::BuildLevels, works::CheckLevels},
    {"RefreshLevels", [](auto& place) { place.OpenFile(); }, works::BuildLevels, works::CheckLevels},
    {"BuildLevelsOfIndices",
     [](auto& place) {
         place.picture = FormulaBitmap(70, 60, shr::INDEXED_8, 30, 25);
         place.MakeFile();
     },
     works::BuildLevels, works::CheckLevels},
    {"RebuildOtherLevels", works::OpenFileWithOtherLevels, works::BuildLevels, works::CheckRebuiltLevels},
    {"Save", [](auto& place) { place.MakeFile(); }, [](auto& place) { place.bitmap->Save(); },
     [](auto& place, Came) {
         place.bitmap->Save();
         place.bitmap->Close();
         EXPECT_TRUE(works::IsOnFile(place.name, place.picture));
     }},
    {"Close",
     [](auto& place) {
         place.OpenFile();
         StoreAll(place.changed, *place.bitmap);
     },
     [](auto& place) { place.bitmap->Close(); },
     [](auto& place, Came came) {
         EXPECT_TRUE(IsClosed(*place.bitmap));
         EXPECT_TRUE(works::IsOnFile(place.name, place.changed));
         (void)came;
     }},
    {"StoreInArchive",
     [](auto& place) {
         place.picture = FormulaBitmap(200, 200, shr::BGR_24, 100, 100);  // more than a buffer holds
         place.OpenFile();
     },
     [](auto& place) { works::StoreInArchive(place, *place.bitmap); },
     [](auto& place, Came) { works::CheckOpened(place, Came::toItsEnd); }},
    {"LoadFromArchive", works::PrepareLoad, [](auto& place) { works::LoadFromArchive(place, *place.bitmap); },
     works::CheckLoaded},
    {"LoadFromArchiveInFileTiles",
     [](auto& place) {
         place.picture = works::InFileTiles(place.picture);
         works::PrepareLoad(place);
     },
     [](auto& place) { works::LoadFromArchive(place, *place.bitmap); }, works::CheckLoaded},
    {"CachedCreateZeros", works::ExpectCachedOf<works::CachedCreateZeros>, works::CachedCreateZeros,
     works::CheckCached},
    {"CachedCreateEmpty", works::ExpectCachedOf<works::CachedCreateEmpty>, works::CachedCreateEmpty,
     works::CheckCached},
    {"CachedCreateFromDib", works::ExpectCachedOf<works::CachedCreateFromDib>, works::CachedCreateFromDib,
     works::CheckCached},
    {"CachedCreateCopy", works::ExpectCachedOf<works::CachedCreateCopy>, works::CachedCreateCopy, works::CheckCached},
    {"CachedCreateInFormat", works::ExpectCachedOf<works::CachedCreateInFormat>, works::CachedCreateInFormat,
     works::CheckCached},
    {"CachedCreateAtSize", works::ExpectCachedOf<works::CachedCreateAtSize>, works::CachedCreateAtSize,
     works::CheckCached},
    {"CachedOpen",
     [](auto& place) {
         place.WriteFile();
         works::PrepareCached(place);
     },
     [](auto& place) { place.cached->Open(place.name, false); },
     [](auto& place, Came came) {
         if (came == Came::toItsEnd) {
             EXPECT_TRUE(IsEqual(*place.cached, place.picture));
             place.cached->Close();
         }
         EXPECT_TRUE(works::IsOnFile(place.name, place.picture));
         EXPECT_LE(works::TemporaryFiles(), 1u);
     }},
    {"CachedStoreInArchive", works::PrepareCached, [](auto& place) { works::StoreInArchive(place, *place.cached); },
     [](auto& place, Came) { works::CheckUsable(place); }},
    {"CachedLoadFromArchive", works::PrepareCachedLoad,
     [](auto& place) { works::LoadFromArchive(place, *place.cached); }, works::CheckCachedLoad},
    {"CachedChangeFrom", works::PrepareChangeFrom, [](auto& place) { place.cached->ChangeFrom(*place.otherCached); },
     works::CheckChangeFrom},
    {"CachedEnd", works::PrepareCached, [](auto& place) { place.cached.reset(); },
     [](auto&, Came) { EXPECT_LE(works::TemporaryFiles(), 1u); }},
    {"CreateInTrueColorsByTiles", works::ExpectFileOf<works::CreateInTrueColors>, works::CreateInTrueColors,
     works::CheckCreated, Way::tileByTile},
    {"CreateHalfByTiles", works::ExpectFileOf<works::CreateHalf>, works::CreateHalf, works::CheckCreated,
     Way::tileByTile},
    {"CreateOfNearestByTiles", works::ExpectFileOf<works::CreateOfNearest>, works::CreateOfNearest, works::CheckCreated,
     Way::tileByTile},
    {"FilterInPlaceByTiles", [](auto& place) { place.OpenFile(); }, works::Brighten,
     [](auto& place, Came came) { works::CheckChanged(place, came, place.changed, works::Brighten); }, Way::tileByTile},
    {"BuildLevelsByTiles",
     [](auto& place) {
         place.picture = works::InFileTiles(place.picture);
         place.MakeFile();
     },
     works::BuildLevels, works::CheckLevels, Way::tileByTile},
    {"RefreshLevelsByTiles",
     [](auto& place) {
         place.picture = works::InFileTiles(place.picture);
         place.OpenFile();
     },
     works::BuildLevels, works::CheckLevels, Way::tileByTile},
};

}  // namespace testkit
