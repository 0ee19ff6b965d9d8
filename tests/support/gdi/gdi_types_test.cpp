#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#include "gdi/gdi.h"

namespace {

template <class Integer>
constexpr bool IsSigned = std::is_signed_v<Integer>;

TEST(GdiTypes, IntegersHaveWindowsSizesAndSigns) {
    EXPECT_TRUE(sizeof(BYTE) == 1 && !IsSigned<BYTE>);
    EXPECT_TRUE(sizeof(WORD) == 2 && !IsSigned<WORD>);
    EXPECT_TRUE(sizeof(DWORD) == 4 && !IsSigned<DWORD>);
    EXPECT_TRUE(sizeof(LONG) == 4 && IsSigned<LONG>);
    EXPECT_TRUE(sizeof(BOOL) == 4 && IsSigned<BOOL>);
    EXPECT_TRUE(sizeof(UINT) == 4 && !IsSigned<UINT>);
}

TEST(GdiTypes, DeviceContextIsAHandle) {
    EXPECT_TRUE(std::is_pointer_v<HDC>);
    EXPECT_EQ(sizeof(HDC), sizeof(void*));
}

TEST(GdiTypes, ConstantsHaveWindowsValues) {
    EXPECT_EQ(FALSE, 0);
    EXPECT_EQ(TRUE, 1);
    const DWORD compressions[] = {BI_RGB, BI_RLE8, BI_RLE4, BI_BITFIELDS, BI_JPEG, BI_PNG};
    for (DWORD value = 0; value < 6; ++value) EXPECT_EQ(compressions[value], value);
}

TEST(GdiTypes, GeometryRecordsAreLaidOutAsOnWindows) {
    EXPECT_EQ(sizeof(RECT), 16u);
    EXPECT_EQ(offsetof(RECT, left), 0u);
    EXPECT_EQ(offsetof(RECT, top), 4u);
    EXPECT_EQ(offsetof(RECT, right), 8u);
    EXPECT_EQ(offsetof(RECT, bottom), 12u);
    EXPECT_EQ(sizeof(POINT), 8u);
    EXPECT_EQ(offsetof(POINT, y), 4u);
    EXPECT_EQ(sizeof(SIZE), 8u);
    EXPECT_EQ(offsetof(SIZE, cy), 4u);
}

TEST(GdiTypes, PaletteEntriesAreBlueGreenRed) {
    EXPECT_EQ(sizeof(RGBQUAD), 4u);
    EXPECT_EQ(offsetof(RGBQUAD, rgbBlue), 0u);
    EXPECT_EQ(offsetof(RGBQUAD, rgbGreen), 1u);
    EXPECT_EQ(offsetof(RGBQUAD, rgbRed), 2u);
    EXPECT_EQ(offsetof(RGBQUAD, rgbReserved), 3u);
    EXPECT_EQ(sizeof(RGBTRIPLE), 3u);
    EXPECT_EQ(offsetof(RGBTRIPLE, rgbtBlue), 0u);
    EXPECT_EQ(offsetof(RGBTRIPLE, rgbtGreen), 1u);
    EXPECT_EQ(offsetof(RGBTRIPLE, rgbtRed), 2u);
}

TEST(GdiTypes, FileHeaderIsPackedTo14Bytes) {
    EXPECT_EQ(sizeof(BITMAPFILEHEADER), 14u);
    EXPECT_EQ(offsetof(BITMAPFILEHEADER, bfType), 0u);
    EXPECT_EQ(offsetof(BITMAPFILEHEADER, bfSize), 2u);
    EXPECT_EQ(offsetof(BITMAPFILEHEADER, bfReserved1), 6u);
    EXPECT_EQ(offsetof(BITMAPFILEHEADER, bfReserved2), 8u);
    EXPECT_EQ(offsetof(BITMAPFILEHEADER, bfOffBits), 10u);
}

TEST(GdiTypes, BitmapHeaderIsLaidOutAsOnWindows) {
    EXPECT_EQ(sizeof(BITMAPINFOHEADER), 40u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biSize), 0u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biWidth), 4u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biHeight), 8u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biPlanes), 12u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biBitCount), 14u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biCompression), 16u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biSizeImage), 20u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biXPelsPerMeter), 24u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biYPelsPerMeter), 28u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biClrUsed), 32u);
    EXPECT_EQ(offsetof(BITMAPINFOHEADER, biClrImportant), 36u);
    EXPECT_EQ(sizeof(BITMAPINFO), 44u);
    EXPECT_EQ(offsetof(BITMAPINFO, bmiColors), 40u);
}

}  // namespace
