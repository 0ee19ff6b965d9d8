// Bitmaps of hosts that are built without RTTI are read and filtered like all others.
#include "filter/BitmapWithoutTypeRecord.h"

#include <gtest/gtest.h>

#include "support_code/Pixels.h"
#include "zbm/ZMemBitmap.h"

namespace {

TEST(BitmapWithoutTypeRecord, IsASourceOfCreations) {
    const auto source = testkit::MakeBitmapWithoutTypeRecord();
    zbm::ZMemBitmap result(1, 1, shr::BGRA_32);
    ASSERT_TRUE(result.Create(shr::BGR_24, *source, nullptr));
    EXPECT_EQ(testkit::GetPixel(result, 4, 2), 0x646464u);
    ASSERT_TRUE(result.Create(2, 2, *source, {0, 0, 5, 3}, zbm::ResizeBicubic0, nullptr));
    EXPECT_EQ(testkit::GetPixel(result, 1, 1), 0x64646464u);
}

TEST(BitmapWithoutTypeRecord, IsFilteredInPlace) {
    const auto bitmap = testkit::MakeBitmapWithoutTypeRecord();
    ASSERT_TRUE(bitmap->ChangeBrightness(-1, nullptr));
    EXPECT_EQ(testkit::GetPixel(*bitmap, 4, 2), 0x64000000u);
}

}  // namespace
