// Every request for memory fails once, and for good, while bitmaps become DIBs and are drawn.
#include "core/OpenBitmaps.h"
#include "device/DibPixels.h"
#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "support/gdi/Section.h"

namespace faults {
namespace {

using shr::CDib;

constexpr int kOldWidth = 3;

CDib OldDib() {
    CDib dib;
    dib.Create(kOldWidth, 2, 8, 0, nullptr, nullptr, 0, 0);
    return dib;
}

/// A host's bitmap with the formula's picture.
std::unique_ptr<testkit::OpenBitmap> HostsPicture(ColorFormat format) {
    auto bitmap = std::make_unique<testkit::OpenBitmap>(kWidth, kHeight, format, kTileWidth, kTileHeight);
    testkit::FillByFormula(*bitmap);
    return bitmap;
}

void TryToFetch(const zbm::ZBitmap& bitmap) {
    const ColorFormat format = bitmap.GetColorFormat();
    FailEveryRequest(
        OldDib, [&](CDib& dib) { bitmap.FetchDib(dib, 0, 0, kWidth, kHeight); },
        [&](CDib& dib, Outcome outcome) {
            if (outcome == Outcome::failed) {
                EXPECT_TRUE(dib.IsEmpty() || dib.GetWidth() == kOldWidth);
                return;
            }
            for (int y = 0; y < kHeight; ++y)
                for (int x = 0; x < kWidth; ++x)
                    ASSERT_EQ(testkit::DibPixel(dib, x, y),
                              testkit::FetchedPixel(format, testkit::FormulaPixel(format, x, y)));
        });
}

TEST(DeviceRequests, FailingInFetchDibLeaveTheOldDibOrAnEmptyOne) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        TryToFetch(MakePicture<ZBasicMemBitmap>(format));
        const auto host = HostsPicture(format);
        host->calls.reserve(100000);  // what the test notes is no request of the library's
        TryToFetch(*host);
    }
}

TEST(DeviceRequests, FailingInContentsAndMasksKeepTheDib) {
    for (const ColorFormat format : kFormats) {
        SCOPED_TRACE(testkit::FormatName(format));
        zbm::ZScanRect tile(9, 5, format);
        const auto keeps = [](CDib& dib, Outcome outcome) {
            EXPECT_EQ(dib.GetWidth(), outcome == Outcome::done ? 9 : kOldWidth);
        };
        const unsigned contents = FailEveryRequest(
            OldDib, [&](CDib& dib) { tile.GetContents(dib, 0, 0, nullptr, 0); }, keeps);
        const unsigned masks = FailEveryRequest(
            OldDib, [&](CDib& dib) { tile.CreateMonoAlphaMask(dib); }, keeps);
        EXPECT_GE(contents, 2u);
        EXPECT_GE(masks, 2u);
    }
}

/// A context with a state of its own, and whether it is as it was.
struct Stage {
    testkit::Section section{8, 8};

    Stage() {
        SetMapMode(section.dc, MM_ANISOTROPIC);
        SetViewportExtEx(section.dc, 2, 2, nullptr);
        SetViewportOrgEx(section.dc, 1, 1, nullptr);
    }
    bool IsAsItWas() const {
        SIZE extent;
        POINT origin;
        return GetMapMode(section.dc) == MM_ANISOTROPIC && GetViewportExtEx(section.dc, &extent) && extent.cx == 2 &&
               GetViewportOrgEx(section.dc, &origin) && origin.x == 1 && !RestoreDC(section.dc, -1);
    }
};

/// What the context itself is short of memory for, it leaves out.
TEST(DeviceRequests, FailingWhileDrawingLeaveTheContextAsItWas) {
    for (const ColorFormat format : {shr::INDEXED_4, shr::GRAYSCALE_16, shr::PBGRA_32}) {
        SCOPED_TRACE(testkit::FormatName(format));
        ZBasicMemBitmap bitmap = MakePicture<ZBasicMemBitmap>(format);
        const auto inspect = [](const std::unique_ptr<Stage>& stage, Outcome) { EXPECT_TRUE(stage->IsAsItWas()); };
        const auto prepare = [] { return std::make_unique<Stage>(); };
        FailEveryRequest(
            prepare, [&](const auto& stage) { bitmap.SetPixelsOnDevice(stage->section.dc, 0, 0); }, inspect);
        FailEveryRequest(
            prepare,
            [&](const auto& stage) {
                RECT rect{0, 0, 3, 3};
                bitmap.StretchToLogRect(stage->section.dc, rect);
            },
            inspect);
    }
}

}  // namespace
}  // namespace faults
