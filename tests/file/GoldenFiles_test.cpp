// Files that were written once: this version opens them, and writes the same bytes.
#include "file/GoldenFiles.h"

#include <gtest/gtest.h>

#include "file/FileBitmapTesting.h"

namespace {

using namespace testkit;

class GoldenFile : public FileBitmapTest, public testing::WithParamInterface<ColorFormat> {
protected:
    const shr::ZString golden =
        shr::ZString(ZBM_TEST_DATA "/files/") + shr::ZString(GoldenFileName(GetParam()).c_str());
};
INSTANTIATE_TEST_SUITE_P(Formats, GoldenFile, testing::ValuesIn(kGoldenFormats),
                         [](const auto& instance) { return FormatName(instance.param); });

TEST_P(GoldenFile, HoldsItsPicture) {
    OpenFileBitmap bitmap;
    bitmap.Open(golden, true);
    EXPECT_TRUE(IsEqual(bitmap, GoldenPicture(GetParam())));
    ASSERT_EQ(bitmap.reductions.size(), 2u);
    EXPECT_EQ(bitmap.reductions[1]->GetPixelHeight(), 17);
}

TEST_P(GoldenFile, IsWhatIsWrittenToday) {
    WriteGoldenFile(name, GetParam());
    EXPECT_EQ(ReadWhole(name), ReadWhole(golden));
}

TEST_F(FileBitmapTest, GoldenArchiveIsWhatIsStoredTodayAndHoldsItsPicture) {
    const shr::ZString golden = shr::ZString(ZBM_TEST_DATA "/files/") + shr::ZString(kGoldenArchive);
    const Bytes bytes = ReadWhole(golden);
    EXPECT_EQ(MakeGoldenArchive(name), bytes);
    shr::MemoryArchive archive(bytes);
    zbm::SerializeIO io(archive, false);
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 1, 1, shr::BGR_24);
    ASSERT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    EXPECT_EQ(archive.RemainingBytes(), 0u);
    EXPECT_TRUE(IsEqual(bitmap, FormulaBitmap(75, 70, shr::BGR_24, 512, 512)));
    EXPECT_EQ(bitmap.reductions.size(), 2u);
}

}  // namespace
