// What goes into an archive comes back: every pixel, mask bit, colour and resolution, in every format by every method.
#include <gtest/gtest.h>

#include <tuple>

#include "shr/Archive.h"
#include "support_code/FormulaPicture.h"
#include "support_code/ScratchFolder.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

namespace {

using testkit::FormulaBitmap;
using testkit::IsFormulaPicture;
using zbm::SerializeIO;
using zbm::ZBasicMemBitmap;
using zcdl::CodecMethod;

class RoundTrip : public testing::TestWithParam<std::tuple<shr::ColorFormat, CodecMethod>> {};

TEST_P(RoundTrip, KeepsEveryPixelMaskBitColorAndResolution) {
    const auto [format, method] = GetParam();
    struct Shape {
        int width, height, tileWidth, tileHeight;
    };
    for (const Shape& shape : {Shape{137, 91, 33, 19},
                               {64, 48, 32, 16},
                               {50, 40, 512, 512},
                               {1, 1, 1, 1},
                               {1, 300, 512, 7},
                               {300, 1, 7, 512}}) {
        ZBasicMemBitmap bitmap = FormulaBitmap(shape.width, shape.height, format, shape.tileWidth, shape.tileHeight);
        shr::MemoryArchive out;
        SerializeIO storing(out, false, method);
        ASSERT_TRUE(bitmap.Serialize(storing, nullptr, nullptr));
        ASSERT_TRUE(IsFormulaPicture(bitmap));

        ZBasicMemBitmap back(1, 1, shr::BGRA_32);
        shr::MemoryArchive in(out.Bytes());
        SerializeIO loading(in, false);
        ASSERT_TRUE(back.Serialize(loading, nullptr, nullptr));
        ASSERT_EQ(in.RemainingBytes(), 0u);
        ASSERT_TRUE(IsFormulaPicture(back));
        ASSERT_TRUE(testkit::AreEqual(back, bitmap));

        shr::MemoryArchive again;
        SerializeIO storingAgain(again, false, method);
        EXPECT_TRUE(back.Serialize(storingAgain, nullptr, nullptr));
        ASSERT_EQ(again.Bytes(), out.Bytes());
    }
}

std::string MethodName(CodecMethod method) {
    return method == CodecMethod::stored     ? "stored"
           : method == CodecMethod::fast     ? "fast"
           : method == CodecMethod::balanced ? "balanced"
                                             : "small";
}

INSTANTIATE_TEST_SUITE_P(EveryFormatByEveryMethod, RoundTrip,
                         testing::Combine(testing::ValuesIn(testkit::kFormats),
                                          testing::Values(CodecMethod::stored, CodecMethod::fast, CodecMethod::balanced,
                                                          CodecMethod::small)),
                         [](const auto& instance) {
                             return testkit::FormatName(std::get<0>(instance.param)) + "_" +
                                    MethodName(std::get<1>(instance.param));
                         });

TEST(RoundTripThroughAFile, HoldsSeveralBitmapsOneAfterTheOther) {
    const testkit::ScratchFolder scratch;
    const shr::ZString name = scratch.File("archive.zbm");
    {
        shr::CBufferedFile file;
        file.Open(name, shr::FileAccess::write, shr::FileMode::createNew, shr::FileSharing::none);
        shr::FileArchive archive(file, shr::FileArchive::Direction::storing);
        SerializeIO io(archive, true);
        for (const shr::ColorFormat format : testkit::kFormats) {
            zbm::ZMemBitmap bitmap(37, 23, format, 13, 9);
            testkit::FillByFormula(bitmap);
            EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
        }
        file.Close();
    }
    shr::CBufferedFile file;
    file.Open(name, shr::FileAccess::read, shr::FileMode::openExisting, shr::FileSharing::read);
    shr::FileArchive archive(file, shr::FileArchive::Direction::loading);
    SerializeIO io(archive, false);
    for (const shr::ColorFormat format : testkit::kFormats) {
        zbm::ZMemBitmap bitmap(1, 1, shr::BGRA_32);
        EXPECT_TRUE(bitmap.Serialize(io, nullptr, nullptr));
        EXPECT_EQ(bitmap.GetColorFormat(), format);
        EXPECT_TRUE(IsFormulaPicture(bitmap));
    }
    EXPECT_EQ(archive.RemainingBytes(), 0u);
}

TEST(RoundTripOfDetails, KeepsWhatAMissingTableOrAStrangeResolutionSays) {
    ZBasicMemBitmap bitmap(5, 5, shr::INDEXED_8);
    bitmap.FillColorTable(nullptr, 0);
    bitmap.SetXResolution(-5);
    bitmap.SetYResolution(0x7FFFFFFF);
    shr::MemoryArchive out;
    SerializeIO storing(out, false);
    EXPECT_TRUE(bitmap.Serialize(storing, nullptr, nullptr));
    ZBasicMemBitmap back(1, 1, shr::INDEXED_4);
    shr::MemoryArchive in(out.Bytes());
    SerializeIO loading(in, false);
    EXPECT_TRUE(back.Serialize(loading, nullptr, nullptr));
    EXPECT_EQ(back.GetNumColorTableItems(), 0u);
    EXPECT_EQ(back.GetXResolution(), -5);
    EXPECT_EQ(back.GetYResolution(), 0x7FFFFFFF);
}

}  // namespace
