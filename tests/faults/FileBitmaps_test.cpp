// Every request for memory fails once, and all from it on, in each thing that is done with bitmaps in files.
#include "file/FileWorks.h"

#include <gtest/gtest.h>

#include "faults/FaultInjection.h"
#include "zpixf/ZPixfConvolution.h"

namespace faults {
namespace {

using namespace testkit;

class FileBitmapsShortOfMemory : public testing::TestWithParam<FileWork> {
protected:
    void SetUp() override {
        std::filesystem::create_directory(shr::test::SystemPath(folder));
        zbm::SetGlobalFileBitmapTempDir(folder);
        formerSink = shr::g_Logger.SetSink([](int, const shr::ZString&) {});  // of bitmaps that close themselves
    }
    void TearDown() override {
        shr::g_Logger.SetSink(std::move(formerSink));
        zbm::SetGlobalFileBitmapTempDir(shr::CPath().GetTempPathW(true));
    }

    shr::Logger::Sink formerSink;

    ScratchFolder scratch;
    const shr::ZString folder = scratch.File("temporary");
};

TEST_P(FileBitmapsShortOfMemory, LeaveWhatTheyFoundAndWorkAgain) {
    const FileWork& work = GetParam();
    const auto prepare = [&] {
        std::filesystem::remove(shr::test::SystemPath(scratch.File("other")));
        auto place = std::make_unique<FileWorkplace>(scratch.File("picture"), scratch.File("other"), work.way);
        place->canDelete = false;
        work.prepare(*place);
        return place;
    };
    const auto act = [&](auto& place) { OrBadAlloc([&] { work.act(*place); }); };
    const auto inspect = [&](auto& place, Outcome outcome) {
        work.check(*place, outcome == Outcome::done ? Came::toItsEnd : Came::toAnError);
    };
    EXPECT_GT(FailEveryRequest(prepare, act, inspect), 0u);
}

INSTANTIATE_TEST_SUITE_P(Works, FileBitmapsShortOfMemory, testing::ValuesIn(kFileWorks),
                         [](const auto& instance) { return std::string(instance.param.name); });

/// Zero where the system does not tell.
template <class Act>
std::int64_t PeakOf(Act act) {
    ResetRequests();
    act();
    return RequestsSinceReset().peak;
}

TEST(MemoryOfFileBitmaps, IsTwoRowsOfTilesWhateverIsDone) {
    constexpr std::int64_t kMost = std::int64_t{128} << 20;
    constexpr int kWidth = 24000, kHeight = 600;
    const ScratchFolder scratch;
    const shr::ZString name = scratch.File("picture"), other = scratch.File("other");
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false), made(L"", L"", false);
    const auto expectFew = [&](const char* what, auto act) {
        EXPECT_LT(PeakOf([&] { EXPECT_TRUE(act()) << what; }), kMost) << what;
    };
    expectFew("create", [&] { return bitmap.Create(name, kWidth, kHeight, shr::BGRA_32, nullptr); });
    expectFew("brightness", [&] { return bitmap.ChangeBrightness(0.3, nullptr); });
    expectFew("blur", [&] { return bitmap.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, nullptr); });
    expectFew("levels", [&] { return bitmap.CommitAll(nullptr, true); });
    expectFew("levels again", [&] { return bitmap.CommitAll(nullptr, true); });
    expectFew("another format", [&] { return made.Create(other, shr::BGR_24, bitmap, nullptr); });
    expectFew("indices", [&] { return made.Create(other, shr::INDEXED_8, bitmap, nullptr); });
    expectFew("levels of indices", [&] { return made.CommitAll(nullptr); });
    expectFew("another size", [&] {
        return made.Create(other, kWidth / 2, kHeight, bitmap, {0, 0, kWidth, kHeight}, zbm::ResizeBicubic0, nullptr);
    });
    expectFew("copy", [&] { return made.Create(other, bitmap, nullptr); });
    const auto serialize = [&](shr::FileArchive::Direction direction, zbm::ZBitmap& serialized) {
        shr::CBufferedFile file;
        file.Open(scratch.File("archive"), shr::FileAccess::readWrite, shr::FileMode::openAlways,
                  shr::FileSharing::none);
        shr::FileArchive archive(file, direction);
        zbm::SerializeIO io(archive, true);
        return serialized.Serialize(io, nullptr, nullptr);
    };
    expectFew("store in an archive", [&] { return serialize(shr::FileArchive::Direction::storing, bitmap); });
    expectFew("load from it", [&] { return serialize(shr::FileArchive::Direction::loading, made); });
}

TEST(MemoryOfFileBitmaps, ForLevelsIsWellBelowThat) {
    constexpr std::int64_t kMost = std::int64_t{80} << 20;
    const ScratchFolder scratch;
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    ASSERT_TRUE(bitmap.Create(scratch.File("picture"), 16384, 1200, shr::BGRA_32, nullptr));
    EXPECT_LT(PeakOf([&] { EXPECT_TRUE(bitmap.CommitAll(nullptr)); }), kMost);
    EXPECT_LT(PeakOf([&] { EXPECT_TRUE(bitmap.CommitAll(nullptr, true)); }), kMost) << "again";
}

}  // namespace
}  // namespace faults
