// A bitmap on a temporary file: which files there are after each step, and what they hold.
#include "zbm/ZCachedBitmap.h"

#include <gtest/gtest.h>

#include "core/TileReading.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/CachedBitmapChecks.h"
#include "core/checks/FileBitmapChecks.h"
#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "support_code/TestProgress.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/SerializeIO.h"

namespace {

using namespace testkit;
using shr::ZString;
using shr::test::Entries;
using zbm::CachedBitmapCheck;
using zbm::ScanRectFileBitmapCheck;
using zbm::SerializeIO;
using zbm::ZBasicMemBitmap;

class OpenCached : public zbm::ZCachedBitmap {
public:
    OpenCached() : OpenCached(L"", L"", false) {}
    OpenCached(const ZString& inFolder, const ZString& fixedName, bool keep)
        : ZCachedBitmap(inFolder, fixedName, keep) {}
    using ZCachedBitmap::currentTempFilename;
    using ZCachedBitmap::file;
    using ZCachedBitmap::reductions;
    using ZCachedBitmap::reductionsStale;
    using ZCachedBitmap::tempDir;
    void CloseTemporary(bool keep) { Close(keep); }
};

class Cached : public FileBitmapTest {
protected:
    std::size_t Files() const { return Entries(folder).size(); }
    bool IsOnlyFile(const ZString& path) const { return Files() == 1 && shr::PathExists(path); }

    ZBasicMemBitmap picture = FormulaBitmap(70, 60, shr::BGR_24, 512, 512);
};

bool IsOnePixel(const zbm::ZBitmap& bitmap) {
    return bitmap.GetPixelWidth() == 1 && bitmap.GetPixelHeight() == 1 && bitmap.GetColorFormat() == shr::BGRA_32 &&
           bitmap.GetScanRectWidth() == 512 && GetPixel(bitmap, 0, 0) == 0;
}

/// A DIB of one pixel.
struct SmallDib {
    BITMAPINFOHEADER header{40, 1, 1, 1, 24, BI_RGB, 0, 0, 0, 0, 0};
    std::uint32_t bits = 0x332211;
    const BITMAPINFO& Info() const { return *reinterpret_cast<const BITMAPINFO*>(this); }
};

// ---- Temporary files come and go.

TEST_F(Cached, MakesANewFileEachTimeAndDeletesTheFormer) {
    SmallDib dib;
    OpenCached bitmap;
    std::vector<ZString> names;
    const auto expectNew = [&](bool created) {
        EXPECT_TRUE(created);
        const ZString current = bitmap.GetCurrentTempFilename();
        EXPECT_EQ(current, bitmap.GetFileName());
        EXPECT_TRUE(IsOnlyFile(current)) << Files() << " files";
        EXPECT_EQ(std::count(names.begin(), names.end(), current), 0);
        names.push_back(current);
    };
    expectNew(bitmap.Create(5, 5, shr::BGR_24, nullptr));
    EXPECT_EQ(GetPixel(bitmap, 4, 4), 0u);
    expectNew(bitmap.Create(dib.Info(), nullptr));
    EXPECT_EQ(GetPixel(bitmap, 0, 0), 0x332211u);
    expectNew(bitmap.Create(&dib.header, &dib.bits, nullptr, nullptr));
    EXPECT_EQ(GetPixel(bitmap, 0, 0), 0x332211u);
    expectNew(bitmap.Create(picture, nullptr));
    EXPECT_TRUE(IsEqual(bitmap, picture));
    ZBasicMemBitmap converted(1, 1, shr::BGR_24), resized(1, 1, shr::BGR_24);
    expectNew(bitmap.Create(shr::GRAYSCALE_8, picture, nullptr));
    ASSERT_TRUE(converted.Create(shr::GRAYSCALE_8, picture, nullptr));
    EXPECT_TRUE(IsEqual(bitmap, converted));
    expectNew(bitmap.Create(30, 20, picture, RECT{0, 0, 70, 60}, zbm::ResizeBilinear, nullptr));
    ASSERT_TRUE(resized.Create(30, 20, picture, RECT{0, 0, 70, 60}, zbm::ResizeBilinear, nullptr));
    EXPECT_TRUE(IsEqual(bitmap, resized));
    bitmap.CreateEmpty(7, 7, shr::BGR_24);
    expectNew(true);
    EXPECT_EQ(bitmap.GetPixelWidth(), 7);
}

TEST_F(Cached, DeletesItsFileWhenItEnds) {
    {
        OpenCached bitmap;
        ASSERT_TRUE(bitmap.Create(picture, nullptr));
    }
    EXPECT_EQ(Files(), 0u);
}

TEST_F(Cached, KeepsItsFilesIfItIsToldTo) {
    ZString first, second;
    {
        OpenCached bitmap(L"", L"", true);
        ASSERT_TRUE(bitmap.Create(picture, nullptr));
        first = bitmap.GetCurrentTempFilename();
        ASSERT_TRUE(bitmap.Create(5, 5, shr::BGR_24, nullptr));
        second = bitmap.GetCurrentTempFilename();
        EXPECT_EQ(Files(), 2u);
    }
    EXPECT_EQ(Files(), 2u);
    OpenFileBitmap opened;
    opened.Open(first, true);
    EXPECT_TRUE(IsEqual(opened, picture));
    opened.Open(second, true);
    EXPECT_EQ(opened.GetPixelWidth(), 5);
}

TEST_F(Cached, LaysItsFileWhereItIsToldTo) {
    const ZString other = scratch.File("other");
    std::filesystem::create_directory(shr::test::SystemPath(other));
    OpenCached bitmap(other, L"", false);
    EXPECT_EQ(bitmap.tempDir, other.Wide()) << "as it is given";
    bitmap.SetTempDir(other.Wide());
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    EXPECT_EQ(Entries(other).size(), 1u);
    EXPECT_TRUE(Entries(other)[0].starts_with("zv") && Entries(other)[0].ends_with(".tmp"));
    bitmap.SetTempFile(L"fixed");
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    EXPECT_EQ(Entries(other), std::vector<std::string>{"fixed"});
}

TEST_F(Cached, ClosedByItsOwnersDeletesOnlyAtTheEnd) {
    ZString file;
    {
        OpenCached bitmap;
        ASSERT_TRUE(bitmap.Create(picture, nullptr));
        file = bitmap.GetCurrentTempFilename();
        bitmap.Close();
        EXPECT_FALSE(bitmap.IsFileOpen());
        EXPECT_EQ(bitmap.GetCurrentTempFilename(), file);
        OpenFileBitmap opened;
        opened.Open(file, true);
        EXPECT_TRUE(IsEqual(opened, picture));
    }
    EXPECT_FALSE(shr::PathExists(file));
}

TEST_F(Cached, ToldToKeepClosesNothingAndForgetsTheName) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    const ZString file = bitmap.GetCurrentTempFilename();
    bitmap.CloseTemporary(true);
    EXPECT_TRUE(bitmap.IsFileOpen());
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_TRUE(bitmap.GetCurrentTempFilename().IsEmpty());
    ASSERT_TRUE(bitmap.Create(5, 5, shr::BGR_24, nullptr));
    EXPECT_TRUE(shr::PathExists(file));
    const ZString second = bitmap.GetCurrentTempFilename();
    bitmap.CloseTemporary(false);
    EXPECT_FALSE(bitmap.IsFileOpen());
    EXPECT_FALSE(shr::PathExists(second));
    EXPECT_TRUE(bitmap.GetCurrentTempFilename().IsEmpty());
}

TEST_F(Cached, CreatedUnderANameIsThatFileAndNeverDeletesIt) {
    {
        OpenCached bitmap;
        ASSERT_TRUE(bitmap.Create(5, 5, shr::BGR_24, nullptr));
        ASSERT_TRUE(bitmap.Create(name, picture, nullptr));
        EXPECT_EQ(bitmap.GetFileName(), name);
        SetAndCommit(bitmap, 0, 0, 0x010203);
    }
    EXPECT_EQ(Files(), 0u);
    EXPECT_EQ(GetPixel(*Opened(true), 0, 0), 0x010203u) << "its changes were written";
}

// ---- What is refused, and what that costs.

TEST_F(Cached, CreatedFromItselfIsItself) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    const ZString file = bitmap.GetCurrentTempFilename();
    EXPECT_TRUE(bitmap.Create(bitmap, nullptr));
    EXPECT_TRUE(bitmap.Create(name, bitmap, nullptr));
    EXPECT_FALSE(shr::PathExists(name));
    EXPECT_EQ(bitmap.GetCurrentTempFilename(), file);
    EXPECT_TRUE(IsEqual(bitmap, picture));
}

TEST_F(Cached, RefusesToBeMadeOfItselfOrItsReductionsWhileItHasItsPicture) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    zbm::ZBitmap& level = *bitmap.GetPtrToPOTReduction(1);
    const RECT part{0, 0, 1, 1};
    for (zbm::ZBitmap* source : {static_cast<zbm::ZBitmap*>(&bitmap), &level}) {
        EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(shr::BGRA_32, *source, nullptr); },
                                        ScanRectFileBitmapCheck::convertedSelf));
        EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(1, 1, *source, part, zbm::ResizePlain, nullptr); },
                                        ScanRectFileBitmapCheck::resizedSelf));
    }
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(level, nullptr); }, ScanRectFileBitmapCheck::copied));
    EXPECT_TRUE(IsOnlyFile(bitmap.GetCurrentTempFilename()));
    EXPECT_TRUE(IsEqual(bitmap, picture));
}

TEST_F(Cached, RefusesDibsWhileItHasItsPicture) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    SmallDib dib;
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(nullptr, &dib.bits, nullptr, nullptr); },
                                    ScanRectFileBitmapCheck::dibHeader));
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Create(&dib.header, nullptr, nullptr, nullptr); },
                                    ScanRectFileBitmapCheck::dibBits));
    dib.header.biCompression = BI_RLE8;
    EXPECT_TRUE(RaisesNamedError([&] { (void)bitmap.Create(dib.Info(), nullptr); }, kUnsupportedDibText,
                                 ScanRectFileBitmapCheck::dibKind));
    EXPECT_TRUE(IsEqual(bitmap, picture));
}

TEST_F(Cached, RemovesTheTemporaryNameOfACreationThatIsRefused) {
    OpenCached bitmap;
    const RECT none{3, 3, 3, 4};
    const auto refuses = [&](auto create, zbm::Check check) {
        EXPECT_TRUE(RaisesInternalError(create, check));
        EXPECT_EQ(Files(), 0u);
        EXPECT_TRUE(bitmap.GetCurrentTempFilename().IsEmpty());
        EXPECT_FALSE(bitmap.IsFileOpen());
    };
    refuses([&] { (void)bitmap.Create(0, 5, shr::BGR_24, nullptr); }, ScanRectFileBitmapCheck::createdSize);
    refuses([&] { bitmap.CreateEmpty(5, 0, shr::BGR_24); }, ScanRectFileBitmapCheck::emptySize);
    refuses([&] { (void)bitmap.Create(static_cast<ColorFormat>(14), picture, nullptr); },
            ScanRectFileBitmapCheck::convertedFormat);
    refuses([&] { (void)bitmap.Create(5, 5, picture, none, zbm::ResizePlain, nullptr); },
            ScanRectFileBitmapCheck::resizedWidth);
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    refuses(
        [&] {
            (void)bitmap.Create(5, 5, picture, {0, 0, 1, 1}, static_cast<zbm::ResizeMethod>(9), nullptr);
        },
        ScanRectFileBitmapCheck::resizeMethod);
}

TEST_F(Cached, LeavesAFileOfItsFixedNameThatItDidNotMake) {
    OnFile(shr::CPath::AppendDirSeparator(folder, true) + L"fixed", picture)->Close();
    {
        OpenCached bitmap(L"", L"fixed", false);
        EXPECT_THROW((void)bitmap.Create(0, 5, shr::BGR_24, nullptr), shr::InternalError);
    }
    EXPECT_EQ(Files(), 1u);
}

TEST_F(Cached, ThatIsCancelledWhileItIsMadeLeavesNoFile) {
    OpenCached bitmap;
    TestProgress tiles(1), lines(1);
    EXPECT_FALSE(bitmap.Create(600, 5, shr::BGR_24, &tiles));
    EXPECT_EQ(Files(), 0u);
    EXPECT_THROW((void)bitmap.Create(shr::GRAYSCALE_8, picture, &lines), shr::AbortException);
    EXPECT_EQ(Files(), 0u);
    EXPECT_TRUE(bitmap.GetCurrentTempFilename().IsEmpty());
    EXPECT_TRUE(bitmap.Create(picture, nullptr));
}

TEST_F(Cached, NamesTheFolderInWhichNoFileCanBeMade) {
    OpenCached bitmap(scratch.File("missing"), L"", false);
    EXPECT_TRUE(RaisesFileError([&] { (void)bitmap.Create(picture, nullptr); }, ScanRectFileBitmapCheck::tempFile,
                                scratch.File("missing")));
    EXPECT_FALSE(bitmap.IsFileOpen());
}

// ---- Files that are full.

TEST_F(Cached, LetsGoOfItsFileOnAFullDiskAndSaysSoInTheLogAlone) {
    for (const bool atItsEnd : {false, true}) {
        OpenCached kept;
        auto bitmap = std::make_unique<OpenCached>();
        ASSERT_TRUE(bitmap->Create(picture, nullptr));
        bitmap->SetXResolution(99);  // a header that waits to be written
        const FailingCall watch(0);
        CapturedLog log;
        shr::SetFileFaultHook([](FileCall call) { return call == FileCall::write || call == FileCall::close; });
        if (atItsEnd)
            bitmap.reset();
        else
            EXPECT_NO_THROW(bitmap->CloseTemporary(false));
        shr::SetFileFaultHook(nullptr);
        EXPECT_EQ(Files(), 0u);
        EXPECT_NE(log.text.find("ZBMCachedBitmap, Line 51"), std::string::npos) << log.text;
    }
}

TEST_F(Cached, IsClosedWithoutWritingWhereItsFileIsDeleted) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    SetAndCommit(bitmap, 0, 0, 5);
    bitmap.SetXResolution(99);
    const FailingCall watch(0);
    bitmap.CloseTemporary(false);
    const auto& calls = FailingCall::Passed();
    EXPECT_EQ(std::count(calls.begin(), calls.end(), FileCall::write), 0);
    EXPECT_EQ(std::count(calls.begin(), calls.end(), FileCall::remove), 1);
}

TEST_F(Cached, OnAFileOfAnotherNameReportsWhatClosingSaysAndTheDestructorTellsTheLog) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(name, picture, nullptr));
    {
        const FailingCall writing(1, FileCall::write);
        EXPECT_THROW(bitmap.CloseTemporary(false), shr::Exception);
    }
    CapturedLog log;
    {
        OpenCached ending;
        ASSERT_TRUE(ending.Create(scratch.File("other"), picture, nullptr));
        shr::SetFileFaultHook([](FileCall call) { return call == FileCall::write; });
    }
    shr::SetFileFaultHook(nullptr);
    EXPECT_NE(log.text.find("ZBMCachedBitmap, Line 51"), std::string::npos) << log.text;
}

// ---- Opening.

TEST_F(Cached, OpensAFileForItsTemporaryOneAndDeletesTheFormer) {
    OnFile(name, picture)->Close();
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(5, 5, shr::BGR_24, nullptr));
    bitmap.Open(name, false);
    EXPECT_EQ(Files(), 0u);
    EXPECT_EQ(bitmap.GetCurrentTempFilename(), name);
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_TRUE(bitmap.reductionsStale) << "it has none";
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_EQ(bitmap.reductions.size(), 1u);
    bitmap.CloseTemporary(false);
    EXPECT_FALSE(shr::PathExists(name)) << "like any temporary file";
}

TEST_F(Cached, OpensAFileWithReductionsThatAreCurrent) {
    const auto made = OnFile(name, picture);
    ASSERT_TRUE(made->CommitAll(nullptr));
    made->Close();
    OpenCached bitmap;
    bitmap.Open(name, false);
    EXPECT_FALSE(bitmap.reductionsStale);
    EXPECT_EQ(bitmap.reductions.size(), 1u);
}

TEST_F(Cached, NeverDeletesAFileThatItOpenedForReading) {
    OnFile(name, picture)->Close();
    {
        OpenCached bitmap;
        bitmap.Open(name, true);
        EXPECT_EQ(bitmap.GetCurrentTempFilename(), name);
        EXPECT_TRUE(IsEqual(bitmap, picture));
        bitmap.Close();
        ASSERT_TRUE(bitmap.Create(5, 5, shr::BGR_24, nullptr));
        bitmap.Open(name, true);
    }
    EXPECT_EQ(Files(), 0u);
    EXPECT_TRUE(shr::PathExists(name));
}

TEST_F(Cached, ThatCannotOpenAFileDeletesItsFormerOneAllTheSame) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    EXPECT_TRUE(RaisesFileError([&] { bitmap.Open(name, false); }, ScanRectFileBitmapCheck::openedFile, name));
    EXPECT_EQ(Files(), 0u);
    EXPECT_TRUE(bitmap.GetCurrentTempFilename().IsEmpty());
    bitmap.KeepTempFile(true);
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    EXPECT_THROW(bitmap.Open(name, false), shr::Exception);
    EXPECT_EQ(Files(), 1u);
}

TEST_F(Cached, OpensItsOwnFileAgain) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    SetAndCommit(bitmap, 3, 3, 0x040506);
    const ZString file = bitmap.GetCurrentTempFilename();
    bitmap.Open(file, false);
    EXPECT_EQ(GetPixel(bitmap, 3, 3), 0x040506u);
    EXPECT_TRUE(IsOnlyFile(file));
}

// ---- Taking over.

TEST_F(Cached, TakesOverAPictureWithItsFile) {
    OpenCached from, to;
    ASSERT_TRUE(to.Create(5, 5, shr::BGR_24, nullptr));
    ASSERT_TRUE(from.Create(picture, nullptr));
    ASSERT_TRUE(from.CommitAll(nullptr));
    const ZString file = from.GetCurrentTempFilename();
    to.ChangeFrom(from);
    EXPECT_TRUE(IsEqual(to, picture));
    EXPECT_EQ(to.GetCurrentTempFilename(), file);
    EXPECT_EQ(to.GetFileName(), file);
    EXPECT_EQ(to.reductions.size(), 1u);
    EXPECT_FALSE(to.reductionsStale);
    EXPECT_TRUE(IsOnePixel(from));
    EXPECT_NE(from.GetCurrentTempFilename(), file);
    EXPECT_EQ(Files(), 2u) << "the former picture's file is gone";
    SetAndCommit(to, 0, 0, 7);
    SetAndCommit(from, 0, 0, 8);
    to.ChangeFrom(to);
    EXPECT_EQ(GetPixel(to, 0, 0), 7u);
}

TEST_F(Cached, TakesOverWhetherReductionsAreStale) {
    for (const bool change : {false, true}) {
        OpenCached from, to;
        ASSERT_TRUE(from.Create(picture, nullptr));
        ASSERT_TRUE(from.CommitAll(nullptr));
        if (change) SetAndCommit(from, 0, 0, 7);
        to.ChangeFrom(from);
        EXPECT_EQ(to.reductionsStale, change);
        OpenCached without, third;
        ASSERT_TRUE(without.Create(picture, nullptr));
        third.ChangeFrom(without);
        EXPECT_TRUE(third.reductionsStale);
    }
}

TEST_F(Cached, TakesOverFromAClosedBitmapWhatItsFileTellsOfReductions) {
    OpenCached from, to;
    ASSERT_TRUE(from.Create(picture, nullptr));
    ASSERT_TRUE(from.CommitAll(nullptr));
    for (const bool change : {false, true}) {
        if (change) SetAndCommit(from, 0, 0, 7);
        from.Close();
        to.ChangeFrom(from);
        EXPECT_EQ(to.reductions.size(), 1u);
        EXPECT_EQ(to.reductionsStale, change);
        from.ChangeFrom(to);
    }
    OpenCached without, third;
    ASSERT_TRUE(without.Create(picture, nullptr));
    without.Close();
    third.ChangeFrom(without);
    ASSERT_TRUE(third.CommitAll(nullptr));
    EXPECT_EQ(third.reductions.size(), 1u) << "they were never built";
}

TEST_F(Cached, TakesOverFolderNameAndWhetherFilesAreKept) {
    for (const bool keep : {false, true}) {
        OpenCached from(folder, L"", keep), to(L"", L"", !keep);
        from.SetTempDir(folder.Wide());
        ASSERT_TRUE(from.Create(picture, nullptr));
        to.ChangeFrom(from);
        EXPECT_EQ(to.tempDir, from.tempDir);
        EXPECT_EQ(to.KeepingTempFile(), keep);
        EXPECT_EQ(from.KeepingTempFile(), keep) << "as before";
    }
}

TEST_F(Cached, TakesOverAFileOfAFixedNameAndLeavesTheOtherAnother) {
    OpenCached from(L"", L"fixed", false), to;
    ASSERT_TRUE(from.Create(picture, nullptr));
    to.ChangeFrom(from);
    EXPECT_TRUE(IsEqual(to, picture));
    EXPECT_EQ(to.GetTempFile(), L"fixed");
    EXPECT_EQ(from.GetTempFile(), L"fixed");
    EXPECT_TRUE(IsOnePixel(from));
    EXPECT_THROW((void)from.Create(5, 5, shr::BGR_24, nullptr), shr::Exception) << "the name is in use";
    EXPECT_TRUE(IsEqual(to, picture));
}

TEST_F(Cached, TakesOverInAChain) {
    OpenCached a, b, c;
    ASSERT_TRUE(a.Create(picture, nullptr));
    b.ChangeFrom(a);
    c.ChangeFrom(b);
    a.ChangeFrom(c);
    EXPECT_TRUE(IsEqual(a, picture));
    EXPECT_TRUE(IsOnePixel(b));
    EXPECT_TRUE(IsOnePixel(c));
    EXPECT_EQ(Files(), 3u);
}

TEST_F(Cached, TakesOverAFileThatWasMadeUnderANameAndLeavesIt) {
    {
        OpenCached from, to;
        ASSERT_TRUE(from.Create(name, picture, nullptr));
        to.ChangeFrom(from);
        EXPECT_EQ(to.GetFileName(), name);
        EXPECT_TRUE(IsEqual(to, picture));
    }
    EXPECT_EQ(Files(), 0u);
    EXPECT_TRUE(IsEqual(*Opened(true), picture));
}

TEST_F(Cached, ThatCannotTakeOverLeavesThePictureWhereItWas) {
    OpenCached from, to;
    ASSERT_TRUE(from.Create(picture, nullptr));
    ASSERT_TRUE(from.CommitAll(nullptr));
    {
        const FailingCall opening(1, FileCall::open);
        EXPECT_TRUE(RaisesFileError([&] { to.ChangeFrom(from); }, ScanRectFileBitmapCheck::openedFile,
                                    from.GetCurrentTempFilename()));
    }
    EXPECT_TRUE(IsEqual(from, picture));
    EXPECT_FALSE(from.reductionsStale);
    EXPECT_FALSE(to.IsFileOpen());
    to.ChangeFrom(from);
    EXPECT_TRUE(IsEqual(to, picture));
}

TEST_F(Cached, WhoseOtherGetsNoNewFileHasThePicture) {
    const ZString other = scratch.File("other");
    std::filesystem::create_directory(shr::test::SystemPath(other));
    OpenCached from, to;
    from.SetTempDir(other.Wide());
    ASSERT_TRUE(from.Create(picture, nullptr));
    from.SetTempDir(scratch.File("missing").Wide());
    EXPECT_TRUE(
        RaisesFileError([&] { to.ChangeFrom(from); }, ScanRectFileBitmapCheck::tempFile, scratch.File("missing")));
    EXPECT_TRUE(IsEqual(to, picture));
    EXPECT_FALSE(from.IsFileOpen());
    from.SetTempDir(L"");
    EXPECT_TRUE(from.Create(picture, nullptr));
}

TEST_F(Cached, HasNothingToTakeFromABitmapWithoutFile) {
    OpenCached from, to;
    EXPECT_TRUE(RaisesFileError([&] { to.ChangeFrom(from); }, ScanRectFileBitmapCheck::openedFile, L""));
    EXPECT_EQ(Files(), 0u);
}

// ---- Archives.

Bytes Stored(zbm::ZBitmap& bitmap) {
    PlainArchive archive;
    SerializeIO io(archive, true, zcdl::CodecMethod::stored);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    return archive.bytes;
}
bool Load(zbm::ZBitmap& bitmap, const Bytes& bytes, shr::IProgress* progress = nullptr) {
    PlainArchive archive(bytes);
    SerializeIO io(archive, true);
    return bitmap.Serialize(io, progress, nullptr);
}

TEST_F(Cached, HasTheArchiveOfABitmapOnItsOwnFile) {
    const auto onFile = OnFile(name, picture);
    ASSERT_TRUE(onFile->CommitAll(nullptr));
    const Bytes bytes = Stored(*onFile);
    OpenCached bitmap;
    ASSERT_TRUE(Load(bitmap, bytes));
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_EQ(bitmap.reductions.size(), 1u);
    EXPECT_TRUE(IsOnlyFile(bitmap.GetCurrentTempFilename()));
    EXPECT_EQ(Stored(bitmap), bytes);
    EXPECT_TRUE(Load(*onFile, Stored(bitmap)));
    EXPECT_TRUE(IsEqual(*onFile, picture));
}

TEST_F(Cached, LoadsIntoANewFile) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    const ZString former = bitmap.GetCurrentTempFilename();
    ASSERT_TRUE(Load(bitmap, Stored(bitmap)));
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_NE(bitmap.GetCurrentTempFilename(), former);
    EXPECT_TRUE(IsOnlyFile(bitmap.GetCurrentTempFilename()));
}

TEST_F(Cached, IsOnePixelAfterALoadThatIsCancelledOrFails) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    const Bytes bytes = Stored(bitmap);
    TestProgress progress(1);
    EXPECT_FALSE(Load(bitmap, bytes, &progress));
    EXPECT_TRUE(IsOnePixel(bitmap));
    EXPECT_TRUE(IsOnlyFile(bitmap.GetCurrentTempFilename()));
    for (const std::size_t length :
         {std::size_t{0}, std::size_t{1}, std::size_t{30}, bytes.size() / 2, bytes.size() - 1}) {
        EXPECT_THROW(Load(bitmap, Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length))),
                     ArchiveFailure);
        EXPECT_TRUE(IsOnePixel(bitmap)) << length;
        EXPECT_TRUE(IsOnlyFile(bitmap.GetCurrentTempFilename()));
    }
    EXPECT_TRUE(Load(bitmap, bytes));
    EXPECT_TRUE(IsEqual(bitmap, picture));
}

TEST_F(Cached, ThatGetsNoFileForOnePixelAfterALoadThatFailsSaysSoInTheLogUnderALineOfItsOwn) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    const Bytes bytes = Stored(bitmap);
    class FolderTaker final : public TestProgress {
        void SetProgress(double) override {
            shr::SetFileFaultHook([](FileCall call) { return call == FileCall::open; });
        }
    } taker;
    const FailingCall watch(0);
    CapturedLog log;
    EXPECT_THROW(Load(bitmap, Bytes(bytes.begin(), bytes.end() - 1), &taker), ArchiveFailure);
    shr::SetFileFaultHook(nullptr);
    EXPECT_NE(log.text.find("ZBMCachedBitmap, Line 9000"), std::string::npos) << log.text;
    EXPECT_FALSE(bitmap.IsFileOpen());
    EXPECT_TRUE(Load(bitmap, bytes));
}

TEST_F(Cached, TakesALegacySerializerForLoadingOnly) {
    class Legacy final : public zbm::ISerializeLegacyGCS {
        void SerializeGCS(shr::ISerialize&) override {}
    } legacy;
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    PlainArchive archive;
    SerializeIO io(archive, false);
    EXPECT_TRUE(RaisesInternalError([&] { (void)bitmap.Serialize(io, nullptr, &legacy); }, CachedBitmapCheck::legacy));
    EXPECT_TRUE(archive.sizes.empty());
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr)) << "a plain null is none";
}

// ---- What it shares with bitmaps on their own files.

TEST_F(Cached, OfAPaletteKeepsItsFilesNameWhileReductionsAreBuilt) {
    ZBasicMemBitmap indexed = FormulaBitmap(70, 60, shr::INDEXED_8, 512, 512);
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(indexed, nullptr));
    const ZString file = bitmap.GetCurrentTempFilename();
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_EQ(bitmap.GetCurrentTempFilename(), file);
    EXPECT_TRUE(IsEqual(bitmap, indexed));
    bitmap.CloseTemporary(false);
    EXPECT_FALSE(shr::PathExists(file));
}

TEST_F(Cached, IsNotSweptWhileItIsInUse) {
    OpenCached bitmap;
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    zbm::CleanGlobalFileBitmapTempDir();
    EXPECT_TRUE(IsEqual(bitmap, picture));
    EXPECT_TRUE(IsOnlyFile(bitmap.GetCurrentTempFilename()));
}

TEST_F(Cached, TellsHowItsTilesAreReadAndOfItsReductions) {
    OpenCached open;
    zbm::ZCachedBitmap bitmap(L"", L"", false);
    ASSERT_TRUE(bitmap.Create(picture, nullptr));
    ASSERT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_NE(zbm::FindTileReading(bitmap), nullptr);
    EXPECT_EQ(zbm::FindTileReading(open), nullptr) << "what derives from it may read in another way";
    EXPECT_EQ(zbm::FindCurrentLevel(bitmap, 1), bitmap.GetPtrToPOTReduction(1));
}

TEST_F(Cached, IsMadeByNameOnNoFile) {
    const std::unique_ptr<shr::CTypedObject> object(shr::CTypeInfo::CreateObject("ZCachedBitmap"));
    auto* bitmap = dynamic_cast<zbm::ZCachedBitmap*>(object.get());
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(bitmap->GetTypeId(), zbm::ZCachedBitmap::GetClassTypeId());
    EXPECT_EQ(zbm::ZCachedBitmap::ClassTypeId.GetParent(), &zbm::ZScanRectFileBitmap::ClassTypeId);
    EXPECT_FALSE(bitmap->IsFileOpen());
    EXPECT_FALSE(bitmap->KeepingTempFile());
    EXPECT_TRUE(bitmap->GetCurrentTempFilename().IsEmpty());
    EXPECT_TRUE(bitmap->Create(1, 1, shr::BGR_24, nullptr));
    EXPECT_EQ(Files(), 1u);
}

}  // namespace
