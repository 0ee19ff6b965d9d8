// Drawing from a file of which a tile cannot be read: the error arrives, the context is as it was, no tile is locked.
#include <gtest/gtest.h>

#include "core/OpenBitmaps.h"
#include "file/OpenFileBitmaps.h"
#include "shr/Dib.h"
#include "support/gdi/Section.h"
#include "support/shared/FileTesting.h"
#include "support_code/FormulaPicture.h"
#include "support_code/ScratchFolder.h"

namespace {

using shr::test::FailingCall;
using testkit::Section;

// 3 x 2 tiles, each larger than a file's buffer.
constexpr int kWidth = 400, kHeight = 300, kTile = 160;

class DrawingFaults : public testing::Test {
protected:
    testkit::ScratchFolder scratch;
    const std::unique_ptr<testkit::OpenFileBitmap> bitmap =
        testkit::OnFile(scratch.File("picture"), testkit::FormulaBitmap(kWidth, kHeight, shr::BGRA_32, kTile, kTile));
    Section section{440, 340};

    /// Works with each read failing in turn, until it gets through. Gives the number of reads that failed.
    template <class Work>
    int FailEachRead(Work work) {
        for (int nth = 1;; ++nth) {
            bool raised = false, met = false;
            {
                const FailingCall fault(nth, shr::FileCall::read);
                try {
                    work();
                } catch (const shr::Exception&) { raised = true; }
                met = FailingCall::HasFailed();
            }
            EXPECT_EQ(raised, met) << "read " << nth;
            EXPECT_FALSE(RestoreDC(section.dc, -1)) << "nothing is left on the stack";
            EXPECT_EQ(GetMapMode(section.dc), MM_TEXT);
            work();  // as if nothing had been
            if (!met) return nth - 1;
        }
    }
};

TEST_F(DrawingFaults, ATileThatCannotBeReadEndsUnscaledDrawing) {
    EXPECT_GE(FailEachRead([&] { bitmap->SetPixelsOnDevice(section.dc, 3, 2); }), 6);
    EXPECT_TRUE(section.At(3, 2) != testkit::kUntouched && section.At(402, 301) != testkit::kUntouched);
}

TEST_F(DrawingFaults, ATileThatCannotBeReadEndsStretching) {
    RECT rect{1, 2, 421, 332};
    EXPECT_GE(FailEachRead([&] { bitmap->StretchToLogRect(section.dc, rect); }), 6);
    EXPECT_TRUE(section.At(1, 2) != testkit::kUntouched && section.At(420, 331) != testkit::kUntouched);
}

TEST_F(DrawingFaults, ATileThatCannotBeReadLeavesAnEmptyDib) {
    EXPECT_GE(FailEachRead([&] {
                  shr::CDib dib;
                  try {
                      bitmap->FetchDib(dib, 0, 0, kWidth, kHeight);
                  } catch (const shr::Exception&) {
                      EXPECT_TRUE(dib.IsEmpty());
                      throw;
                  }
                  EXPECT_EQ(dib.GetWidth(), kWidth);
              }),
              6);
}

TEST(DrawingOnNoContext, DoesNothing) {
    zbm::ZBasicMemBitmap bitmap = testkit::FormulaBitmap(kWidth, kHeight, shr::GRAYSCALE_8, kTile, kTile);
    const HDC gone = CreateCompatibleDC(nullptr);
    ASSERT_TRUE(DeleteDC(gone));
    RECT rect{0, 0, 10, 10};
    for (const HDC dc : {gone, HDC{nullptr}}) {
        bitmap.SetPixelsOnDevice(dc, 0, 0);
        bitmap.StretchToLogRect(dc, rect);
    }
    EXPECT_TRUE(testkit::IsFormulaPicture(bitmap));
}

constexpr int kSmallWidth = 20, kSmallHeight = 14;

TEST(DrawingOnAContext, StretchesIntoLogicalUnitsAndLeavesTheContextAsItWas) {
    zbm::ZBasicMemBitmap bitmap = testkit::FormulaBitmap(kSmallWidth, kSmallHeight, shr::GRAYSCALE_8, 8, 8);
    Section section(48, 40);
    SetMapMode(section.dc, MM_ANISOTROPIC);
    SetViewportExtEx(section.dc, 2, 2, nullptr);
    SetViewportOrgEx(section.dc, 3, 4, nullptr);
    SetStretchBltMode(section.dc, HALFTONE);
    RECT rect{1, 1, 1 + kSmallWidth, 1 + kSmallHeight};
    bitmap.StretchToLogRect(section.dc, rect);
    EXPECT_EQ(GetMapMode(section.dc), MM_ANISOTROPIC);
    EXPECT_EQ(GetStretchBltMode(section.dc), HALFTONE);
    POINT origin;
    EXPECT_TRUE(GetViewportOrgEx(section.dc, &origin) && origin.x == 3 && origin.y == 4);
    // Twice as large, from (5, 6) on.
    for (int y = 0; y < 2 * kSmallHeight; ++y)
        for (int x = 0; x < 2 * kSmallWidth; ++x)
            ASSERT_EQ(section.At(5 + x, 6 + y) & 255, testkit::FormulaPixel(shr::GRAYSCALE_8, x / 2, y / 2));
    EXPECT_EQ(section.At(4, 6), testkit::kUntouched);
    EXPECT_EQ(section.At(5 + 2 * kSmallWidth, 6), testkit::kUntouched);
}

TEST(DrawingOnAContext, OfExtentsOfZeroDrawsNothing) {
    zbm::ZBasicMemBitmap bitmap = testkit::FormulaBitmap(kSmallWidth, kSmallHeight, shr::GRAYSCALE_8, 8, 8);
    testkit::OpenBitmap flat(0, 0, shr::GRAYSCALE_8, 8, 8);
    Section section(16, 16);
    for (RECT rect : {RECT{1, 1, 1, 9}, RECT{1, 1, 9, 1}, RECT{1, 1, 1, 1}, RECT{9, 9, 1, 1}})
        bitmap.StretchToLogRect(section.dc, rect);
    RECT rect{0, 0, 9, 9};
    flat.StretchToLogRect(section.dc, rect);
    flat.SetPixelsOnDevice(section.dc, 0, 0);
    EXPECT_TRUE(testkit::IsUntouched(section));
}

}  // namespace
