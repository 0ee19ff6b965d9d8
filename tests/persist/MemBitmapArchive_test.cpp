// The record of a memory bitmap with its reductions.
#include <gtest/gtest.h>

#include <vector>

#include "core/OpenBitmaps.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "core/checks/BitmapChecks.h"
#include "core/checks/MemBitmapChecks.h"
#include "core/checks/ScanRectChecks.h"
#include "shr/Archive.h"
#include "support_code/ArchiveBytes.h"
#include "support_code/ExpectError.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/SerializeIO.h"

namespace {

using testkit::ArchiveFailure;
using testkit::ArchiveWriter;
using testkit::Bytes;
using testkit::FormulaBitmap;
using testkit::OpenMemBitmap;
using testkit::PlainArchive;
using testkit::RaisesInternalError;
using testkit::RaisesReadArchive;
using testkit::TestProgress;
using zbm::BasicMemBitmapCheck;
using zbm::BitmapCheck;
using zbm::MemBitmapCheck;
using zbm::ScanRectCheck;
using zbm::SerializeIO;
using zbm::ZBasicMemBitmap;

class NoLegacy : public zbm::ISerializeLegacyGCS {
public:
    void SerializeGCS(shr::ISerialize&) override { FAIL() << "the legacy serializer is called"; }
};

Bytes Stored(zbm::ZBitmap& bitmap, bool withReductions) {
    PlainArchive archive;
    SerializeIO io(archive, withReductions, zcdl::CodecMethod::stored);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    return archive.bytes;
}

bool Load(zbm::ZBitmap& bitmap, const Bytes& bytes, shr::IProgress* progress = nullptr) {
    PlainArchive archive(bytes);
    SerializeIO io(archive, false);
    return bitmap.Serialize(io, progress, nullptr);
}

/// 80 x 60 pixels with two reductions that are not what building would give, so that they tell themselves apart.
OpenMemBitmap WithReductions() {
    OpenMemBitmap bitmap(80, 60, shr::BGRA_32, 32, 32);
    testkit::FillByFormula(bitmap);
    bitmap.AddReduction(FormulaBitmap(40, 30, shr::BGRA_32, 512, 512));
    bitmap.AddReduction(FormulaBitmap(20, 15, shr::BGRA_32, 512, 512));
    bitmap.needsRebuild = false;
    return bitmap;
}

std::size_t RecordBytes(int width, int height, int tileWidth, int tileHeight) {
    ZBasicMemBitmap bitmap(width, height, shr::BGRA_32, tileWidth, tileHeight);
    return Stored(bitmap, false).size();
}

testing::AssertionResult IsOnePixelWithoutReductions(OpenMemBitmap& bitmap) {
    if (bitmap.GetPixelWidth() != 1 || bitmap.GetPixelHeight() != 1 || bitmap.GetColorFormat() != shr::BGRA_32 ||
        bitmap.GetScanRectWidth() != 512 || bitmap.GetScanRectHeight() != 512)
        return testing::AssertionFailure() << bitmap.GetPixelWidth() << " x " << bitmap.GetPixelHeight();
    if (!bitmap.reductions.empty() || !bitmap.needsRebuild)
        return testing::AssertionFailure() << bitmap.reductions.size() << " reductions";
    return testing::AssertionSuccess() << bitmap.LockScanRect(0, 0).GetWidth();
}

TEST(MemBitmapArchive, IsVersionThenPictureThenTheReductionsThatAreHeld) {
    OpenMemBitmap bitmap = WithReductions();
    ZBasicMemBitmap picture(bitmap);
    const Bytes expected = ArchiveWriter()
                               .U16(1)
                               .Raw(Stored(picture, false))
                               .U32(1)
                               .U32(2)
                               .Raw(Stored(*bitmap.reductions[0], false))
                               .Raw(Stored(*bitmap.reductions[1], false))
                               .Take();
    EXPECT_EQ(Stored(bitmap, true), expected);
}

TEST(MemBitmapArchive, EndsWithAZeroWhenReductionsAreNotWanted) {
    OpenMemBitmap bitmap = WithReductions();
    ZBasicMemBitmap picture(bitmap);
    EXPECT_EQ(Stored(bitmap, false), ArchiveWriter().U16(1).Raw(Stored(picture, false)).U32(0).Take());
}

TEST(MemBitmapArchive, OfABitmapWhoseReductionsWereDroppedHoldsNone) {
    OpenMemBitmap bitmap = WithReductions();
    bitmap.LockScanRect(0, 0);
    bitmap.CommitScanRect(0, 0);
    bitmap.UnlockScanRect(0, 0);
    ZBasicMemBitmap picture(bitmap);
    EXPECT_EQ(Stored(bitmap, true), ArchiveWriter().U16(1).Raw(Stored(picture, false)).U32(1).U32(0).Take());
}

TEST(MemBitmapArchive, HoldsStaleReductionsAsTheyAre) {
    OpenMemBitmap bitmap = WithReductions();
    const Bytes current = Stored(bitmap, true);
    bitmap.needsRebuild = true;
    EXPECT_EQ(Stored(bitmap, true), current);
}

TEST(MemBitmapArchive, WithoutReductionsLeavesThemToBeBuilt) {
    OpenMemBitmap source = WithReductions(), target = WithReductions();
    EXPECT_TRUE(Load(target, Stored(source, false)));
    EXPECT_TRUE(testkit::IsFormulaPicture(target));
    EXPECT_TRUE(target.needsRebuild);
    EXPECT_TRUE(target.reductions.empty()) << "the old ones are gone";
    EXPECT_EQ(target.GetPtrToPOTReduction(1), nullptr);
}

TEST(MemBitmapArchive, WithReductionsBringsThemBackAsCurrent) {
    OpenMemBitmap source = WithReductions();
    OpenMemBitmap target(300, 300, shr::INDEXED_8);
    target.AddReduction(ZBasicMemBitmap(150, 150, shr::BGRA_32));
    EXPECT_TRUE(Load(target, Stored(source, true)));
    EXPECT_TRUE(testkit::IsFormulaPicture(target));
    EXPECT_FALSE(target.needsRebuild);
    ASSERT_EQ(target.reductions.size(), 2u);
    for (unsigned level = 1; level <= 2; ++level) {
        const zbm::ZBitmap* reduction = target.GetPtrToPOTReduction(level);
        ASSERT_NE(reduction, nullptr);
        EXPECT_TRUE(testkit::AreEqual(*reduction, *source.GetPtrToPOTReduction(level)));
        EXPECT_EQ(reduction->GetTypeId(), &ZBasicMemBitmap::ClassTypeId);
    }
    const zbm::ZBitmap* first = target.GetPtrToPOTReduction(1);
    EXPECT_TRUE(target.CommitAll(nullptr)) << "nothing is to be done";
    EXPECT_EQ(target.GetPtrToPOTReduction(1), first);
}

TEST(MemBitmapArchive, WithNoReductionAmongThoseStoredIsCurrentToo) {
    OpenMemBitmap source(30, 30, shr::BGR_24);
    OpenMemBitmap target = WithReductions();
    EXPECT_TRUE(Load(target, Stored(source, true)));
    EXPECT_FALSE(target.needsRebuild);
    EXPECT_TRUE(target.reductions.empty());
}

TEST(MemBitmapArchive, TakesNoLegacySerializerInEitherDirection) {
    OpenMemBitmap bitmap = WithReductions();
    NoLegacy legacy;
    PlainArchive storing, loading(Stored(bitmap, true));
    SerializeIO out(storing, true), in(loading, true);
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.Serialize(out, nullptr, &legacy); }, MemBitmapCheck::legacy));
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.Serialize(in, nullptr, &legacy); }, MemBitmapCheck::legacy));
    EXPECT_TRUE(storing.bytes.empty());
    EXPECT_EQ(loading.position, 0u);
    EXPECT_EQ(bitmap.reductions.size(), 2u);
}

TEST(MemBitmapArchive, OfAnotherVersionIsRefusedAndChangesNothing) {
    for (const unsigned version : {0u, 2u, 0xFFFFu}) {
        OpenMemBitmap bitmap = WithReductions();
        const Bytes bytes = ArchiveWriter().U16(version).Raw(Bytes(500)).Take();
        PlainArchive archive(bytes);
        SerializeIO io(archive, false);
        EXPECT_TRUE(
            RaisesReadArchive([&] { return bitmap.Serialize(io, nullptr, nullptr); }, MemBitmapCheck::recordVersion));
        EXPECT_EQ(archive.position, 2u);
        EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
        EXPECT_EQ(bitmap.reductions.size(), 2u);
        EXPECT_FALSE(bitmap.needsRebuild);
    }
}

TEST(MemBitmapArchive, WhosePictureIsOfAnotherVersionHasLostItsReductionsOnly) {
    OpenMemBitmap bitmap = WithReductions();
    const Bytes bytes = ArchiveWriter().U16(1).U16(2).Raw(Bytes(500)).Take();
    EXPECT_TRUE(RaisesReadArchive([&] { Load(bitmap, bytes); }, BitmapCheck::formatInfoVersion));
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
    EXPECT_TRUE(bitmap.reductions.empty());
}

TEST(MemBitmapArchive, WithAReductionOfAnotherVersionKeepsThePictureThatWasRead) {
    OpenMemBitmap source = WithReductions();
    const std::size_t base = 2 + RecordBytes(80, 60, 32, 32), first = base + 8;
    struct Case {
        std::size_t offset;
        zbm::Check check;
    };
    for (const Case& c : {Case{first, BitmapCheck::formatInfoVersion},
                          {first + 34, BasicMemBitmapCheck::recordVersion},
                          {first + 36, ScanRectCheck::recordVersion}}) {
        Bytes bytes = Stored(source, true);
        ASSERT_EQ(bytes[c.offset], 1);
        bytes[c.offset] = 2;
        OpenMemBitmap target(300, 300, shr::INDEXED_8);
        EXPECT_TRUE(RaisesReadArchive([&] { Load(target, bytes); }, c.check));
        EXPECT_EQ(target.GetPixelWidth(), 80);
        EXPECT_TRUE(testkit::IsFormulaPicture(target));
        EXPECT_TRUE(target.needsRebuild) << "not all reductions are there";
        target.Create(3, 3, shr::BGR_24);
        EXPECT_EQ(testkit::GetPixel(target, 2, 2), 0u);
    }
}

TEST(MemBitmapArchiveProgress, RunsATaskForThePictureAndForEachReduction) {
    OpenMemBitmap bitmap = WithReductions();
    TestProgress storing, loading;
    PlainArchive archive;
    SerializeIO io(archive, true);
    EXPECT_TRUE(bitmap.Serialize(io, &storing, nullptr));
    EXPECT_EQ(storing.TaskTexts(), std::vector<std::string>(3, "Storing image..."));
    EXPECT_EQ(storing.fractions, (std::vector<double>{4 / 6.0, 7 / 6.0, 2.0, 2.0}));
    EXPECT_EQ(storing.openTasks, 0);
    EXPECT_TRUE(Load(bitmap, archive.bytes, &loading));
    EXPECT_EQ(loading.TaskTexts(), std::vector<std::string>(3, "Loading image..."));
    EXPECT_EQ(loading.fractions, storing.fractions);
    EXPECT_EQ(loading.openTasks, 0);
}

TEST(MemBitmapArchiveProgress, CancelledWhileStoringLeavesWhatWasWritten) {
    OpenMemBitmap bitmap = WithReductions();
    const Bytes whole = Stored(bitmap, true);
    const std::size_t base = 2 + RecordBytes(80, 60, 32, 32);
    const std::size_t sizes[] = {0, base, base + 8 + RecordBytes(40, 30, 512, 512), whole.size()};
    for (int report = 1; report <= 4; ++report) {
        TestProgress progress(report);
        PlainArchive archive;
        SerializeIO io(archive, true, zcdl::CodecMethod::stored);
        EXPECT_FALSE(bitmap.Serialize(io, &progress, nullptr));
        EXPECT_EQ(progress.openTasks, 0);
        if (report > 1) { EXPECT_EQ(archive.bytes.size(), sizes[report - 1]); }
        EXPECT_TRUE(std::equal(archive.bytes.begin(), archive.bytes.end(), whole.begin()));
        EXPECT_EQ(bitmap.reductions.size(), 2u);
    }
}

TEST(MemBitmapArchiveProgress, CancelledWhileLoadingLeavesOnePixelWithoutReductions) {
    OpenMemBitmap source = WithReductions();
    const Bytes whole = Stored(source, true);
    for (int report = 1; report <= 4; ++report) {
        TestProgress progress(report);
        OpenMemBitmap target = WithReductions();
        EXPECT_FALSE(Load(target, whole, &progress));
        EXPECT_EQ(progress.openTasks, 0);
        EXPECT_TRUE(IsOnePixelWithoutReductions(target)) << "report " << report;
        EXPECT_TRUE(Load(target, whole));
        EXPECT_EQ(target.reductions.size(), 2u);
    }
}

TEST(MemBitmapArchiveFailure, OfTheArchiveAtAnyReadAfterTheVersionsPassesOnAndLeavesAnEmptyBitmap) {
    OpenMemBitmap source = WithReductions();
    const Bytes whole = Stored(source, true);
    for (std::size_t access = 3;; ++access) {
        OpenMemBitmap target = WithReductions();
        PlainArchive archive(whole);
        archive.failAtAccess = access;
        SerializeIO io(archive, false);
        try {
            EXPECT_TRUE(target.Serialize(io, nullptr, nullptr));
            EXPECT_TRUE(testkit::IsFormulaPicture(target));
            break;
        } catch (const ArchiveFailure&) {
            EXPECT_EQ(target.GetColorFormat(), shr::FORMAT_NONE) << "read " << access;
            EXPECT_EQ(target.GetNumScanRectRows(), 0) << "read " << access;
            EXPECT_TRUE(target.reductions.empty()) << "read " << access;
            target.Create(3, 3, shr::BGR_24);
            EXPECT_EQ(testkit::GetPixel(target, 2, 2), 0u);
        }
    }
}

// Whether or not the archive tells how much is left.

void ExpectRefusedAndEmpty(const Bytes& bytes, MemBitmapCheck check) {
    PlainArchive plain(bytes);
    shr::MemoryArchive telling(bytes);
    SerializeIO plainIn(plain, false), tellingIn(telling, false);
    for (SerializeIO* io : {&plainIn, &tellingIn}) {
        OpenMemBitmap bitmap = WithReductions();
        EXPECT_TRUE(RaisesReadArchive([&] { return bitmap.Serialize(*io, nullptr, nullptr); }, check));
        EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
        EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
        EXPECT_TRUE(bitmap.reductions.empty());
    }
}

/// A picture of 5 x 5 pixels with so many reductions of a given size.
Bytes PictureWithReductions(std::uint32_t count, int width, int height) {
    ZBasicMemBitmap picture = FormulaBitmap(5, 5, shr::BGRA_32, 4, 4), level(1, 1, shr::BGRA_32);
    level.Create(width, height, shr::GRAYSCALE_8, 7, 7);
    ArchiveWriter writer;
    writer.U16(1).Raw(Stored(picture, false)).U32(1).U32(count);
    for (std::uint32_t i = 0; i < count; ++i) writer.Raw(Stored(level, false));
    return writer.Take();
}

TEST(MemBitmapArchive, HasUpTo31ReductionsOfAnySize) {
    for (const auto& [count, width, height] : {std::tuple{1u, 1, 1}, {31u, 9, 8}, {31u, 1, 30}}) {
        OpenMemBitmap bitmap = WithReductions();
        EXPECT_TRUE(Load(bitmap, PictureWithReductions(count, width, height)));
        ASSERT_EQ(bitmap.reductions.size(), count);
        EXPECT_EQ(bitmap.reductions.back()->GetPixelWidth(), width);
        EXPECT_EQ(bitmap.reductions.back()->GetPixelHeight(), height);
    }
}

TEST(MemBitmapArchiveFailure, AtMoreThan31ReductionsLeavesAnEmptyBitmap) {
    ExpectRefusedAndEmpty(PictureWithReductions(32, 3, 3), MemBitmapCheck::reductionCount);
    ZBasicMemBitmap picture = FormulaBitmap(5, 5, shr::BGRA_32, 4, 4);
    ExpectRefusedAndEmpty(ArchiveWriter().U16(1).Raw(Stored(picture, false)).U32(1).U32(0xFFFFFFFF).Take(),
                          MemBitmapCheck::reductionCount);
}

TEST(MemBitmapArchiveFailure, AtAReductionWithoutPixelsLeavesAnEmptyBitmap) {
    for (const auto& [width, height] : {std::pair{0, 9}, {9, 0}, {0, 0}})
        ExpectRefusedAndEmpty(PictureWithReductions(1, width, height), MemBitmapCheck::reductionSize);
}

TEST(MemBitmapArchive, OfAnEmptyBitmapIsNotStored) {
    OpenMemBitmap bitmap = WithReductions();
    EXPECT_ANY_THROW(bitmap.Create(-1, 1, shr::BGRA_32));
    PlainArchive archive;
    SerializeIO io(archive, true);
    EXPECT_TRUE(testkit::RaisesNamedError([&] { return bitmap.Serialize(io, nullptr, nullptr); },
                                          testkit::kWriteArchiveText, MemBitmapCheck::storedFormat));
    EXPECT_TRUE(archive.sizes.empty());
    NoLegacy legacy;
    EXPECT_TRUE(RaisesInternalError([&] { return bitmap.Serialize(io, nullptr, &legacy); }, MemBitmapCheck::legacy))
        << "the first check";
}

}  // namespace
