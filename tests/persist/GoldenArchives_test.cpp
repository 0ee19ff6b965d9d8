// Archives that were written once: they are loaded for ever, and what is stored today is the same to the byte.
#include "persist/GoldenArchives.h"

#include <gtest/gtest.h>

#include "shr/Archive.h"
#include "zbm/SerializeIO.h"

namespace {

std::vector<std::uint8_t> FileBytes(const std::string& fileName) {
    shr::CBufferedFile file;
    file.Open((ZBM_TEST_DATA "/archives/" + fileName).c_str(), shr::FileAccess::read, shr::FileMode::openExisting,
              shr::FileSharing::read);
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(file.GetLength()));
    file.ReadExactly(bytes.data(), bytes.size());
    return bytes;
}

std::vector<std::uint8_t> Stored(zbm::ZBitmap& bitmap, zcdl::CodecMethod method) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, true, method);
    EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    return archive.Bytes();
}

class Golden : public testing::TestWithParam<testkit::GoldenArchive> {};

TEST_P(Golden, IsLoadedWithEveryPixel) {
    shr::MemoryArchive archive(FileBytes(GetParam().fileName));
    zbm::SerializeIO io(archive, false);
    zbm::ZBasicMemBitmap bitmap(1, 1, shr::BGRA_32);
    ASSERT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    EXPECT_EQ(archive.RemainingBytes(), 0u);
    EXPECT_EQ(bitmap.GetPixelWidth(), 37);
    EXPECT_EQ(bitmap.GetPixelHeight(), 23);
    EXPECT_EQ(bitmap.GetColorFormat(), GetParam().format);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 13);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 9);
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

TEST_P(Golden, IsWhatIsStoredToday) {
    zbm::ZBasicMemBitmap picture = testkit::GoldenPicture(GetParam().format);
    EXPECT_TRUE(Stored(picture, GetParam().method) == FileBytes(GetParam().fileName));
}

INSTANTIATE_TEST_SUITE_P(Archives, Golden, testing::ValuesIn(testkit::GoldenArchives()), [](const auto& instance) {
    std::string name = instance.param.fileName.substr(0, instance.param.fileName.size() - 4);
    for (char& c : name)
        if (c == '-') c = '_';
    return name;
});

TEST(GoldenWithReductions, IsLoadedWithThem) {
    shr::MemoryArchive archive(FileBytes(testkit::kGoldenWithReductions));
    zbm::SerializeIO io(archive, false);
    zbm::ZMemBitmap bitmap(1, 1, shr::BGRA_32);
    ASSERT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
    EXPECT_EQ(archive.RemainingBytes(), 0u);
    testkit::GoldenMemBitmap expected;
    EXPECT_TRUE(testkit::AreEqual(bitmap, expected));
    for (unsigned level = 1; level <= 2; ++level) {
        ASSERT_NE(bitmap.GetPtrToPOTReduction(level), nullptr);
        EXPECT_TRUE(testkit::AreEqual(*bitmap.GetPtrToPOTReduction(level), *expected.GetPtrToPOTReduction(level)));
    }
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(3), nullptr);
}

TEST(GoldenWithReductions, IsWhatIsStoredToday) {
    testkit::GoldenMemBitmap bitmap;
    EXPECT_TRUE(Stored(bitmap, zcdl::CodecMethod::stored) == FileBytes(testkit::kGoldenWithReductions));
}

}  // namespace
