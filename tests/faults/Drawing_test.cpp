// Drawing: memory that fails at every request, tiles that fail at every lock. Nothing leaks, no tile stays locked,
// nothing is written beside the destination, and the device context is as it was.
#include <algorithm>
#include <vector>

#include "faults/FaultInjection.h"
#include "support/gdi/Section.h"
#include "support_code/FormulaPicture.h"
#include "zbm/Drawing.h"
#include "zbm/ZMemBitmap.h"

namespace faults {
namespace {

using testkit::Section;
using zbm::ZMemBitmap;

constexpr int kSide = 24;
constexpr RECT kDestination{4, 4, 20, 20};

struct TileFails {};

/// Counts its locks, and throws at the n-th.
class FailingPicture : public ZMemBitmap {
public:
    FailingPicture() : ZMemBitmap(33, 31, shr::INDEXED_8, 8, 8) { testkit::FillByFormula(*this); }
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        if (locksLeft >= 0 && locksLeft-- == 0) throw TileFails();
        ++locks;
        return ZMemBitmap::LockScanRect(row, col);
    }
    void UnlockScanRect(int row, int col) const override {
        --locks;
        ZMemBitmap::UnlockScanRect(row, col);
    }

    mutable int locks = 0, locksLeft = -1;  // below 0: none fails
};

zbm::DrawOptions Options(bool isNearest) {
    zbm::DrawOptions options;
    options.background = zbm::DrawOptions::Background::checkerboard;
    if (isNearest) {
        options.enlarging = zbm::DrawOptions::Enlarging::nearest;
        options.shrinking = zbm::DrawOptions::Shrinking::nearest;
    }
    return options;
}

/// A picture and the memory that it is drawn on.
struct Frame {
    FailingPicture picture;
    std::vector<std::uint32_t> pixels = std::vector<std::uint32_t>(kSide * kSide, testkit::kUntouched);

    bool Draw(double zoom, bool isNearest) {
        const zbm::PixelSurface surface{reinterpret_cast<std::uint8_t*>(pixels.data()), 4 * kSide, kSide, kSide,
                                        zbm::SurfaceLayout::bgrx};
        return picture.DrawOnPixels(surface, kDestination, {1.25, 1.5, 16 * zoom, 16 * zoom}, Options(isNearest),
                                    nullptr);
    }
    bool IsUntouchedOutside() const {
        for (int y = 0; y < kSide; ++y)
            for (int x = 0; x < kSide; ++x)
                if (!(x >= kDestination.left && x < kDestination.right && y >= kDestination.top &&
                      y < kDestination.bottom) &&
                    pixels[static_cast<std::size_t>(y * kSide + x)] != testkit::kUntouched)
                    return false;
        return true;
    }
};

class Drawing : public testing::TestWithParam<std::pair<double, bool>> {
protected:
    static bool Draw(Frame& frame) { return frame.Draw(GetParam().first, GetParam().second); }
};
INSTANTIATE_TEST_SUITE_P(All, Drawing,
                         testing::Values(std::pair{1.0, true}, std::pair{0.4, true}, std::pair{1.9, true},
                                         std::pair{0.4, false}, std::pair{1.9, false}),
                         [](const auto& test) { return "Case" + std::to_string(test.index); });

TEST_P(Drawing, SurvivesEveryFailingRequest) {
    const unsigned failed =
        FailEveryRequest([] { return std::make_unique<Frame>(); }, [](auto& frame) { EXPECT_TRUE(Draw(*frame)); },
                         [](auto& frame, Outcome) {
                             EXPECT_EQ(frame->picture.locks, 0);
                             EXPECT_TRUE(frame->IsUntouchedOutside());
                             EXPECT_TRUE(Draw(*frame));
                         });
    if (ReachesLibraries()) { EXPECT_GT(failed, 0u); }
}

TEST_P(Drawing, PassesOnWhatEveryTileThrows) {
    for (int lock = 0;; ++lock) {
        Frame frame;
        frame.picture.locksLeft = lock;
        bool failed = false;
        try {
            EXPECT_TRUE(Draw(frame));
        } catch (const TileFails&) { failed = true; }
        EXPECT_EQ(frame.picture.locks, 0);
        EXPECT_TRUE(frame.IsUntouchedOutside());
        frame.picture.locksLeft = -1;
        EXPECT_TRUE(Draw(frame));
        if (!failed || HasFailure()) break;
    }
}

/// A picture and the device that it is drawn on.
struct Device {
    FailingPicture picture;
    Section section{kSide, kSide};

    bool Draw() { return picture.DrawOnDevice(section.dc, kDestination, {1.25, 1.5, 30, 30}, {}, nullptr); }
    bool IsAsItWas() const {
        const bool isNothingSaved = SaveDC(section.dc) == 1;
        RestoreDC(section.dc, 1);
        return isNothingSaved && GetMapMode(section.dc) == MM_TEXT && section.At(0, 0) == testkit::kUntouched;
    }
};

TEST(DrawingOnDevices, SurvivesEveryFailingRequest) {
    FailEveryRequest([] { return std::make_unique<Device>(); }, [](auto& device) { EXPECT_TRUE(device->Draw()); },
                     [](auto& device, Outcome) {
                         EXPECT_EQ(device->picture.locks, 0);
                         EXPECT_TRUE(device->IsAsItWas());
                         EXPECT_TRUE(device->Draw());
                         EXPECT_NE(device->section.At(5, 5), testkit::kUntouched);
                     });
}

TEST(DrawingOnDevices, PassesOnWhatEveryTileThrows) {
    for (int lock = 0;; ++lock) {
        Device device;
        device.picture.locksLeft = lock;
        bool failed = false;
        try {
            EXPECT_TRUE(device.Draw());
        } catch (const TileFails&) { failed = true; }
        EXPECT_EQ(device.picture.locks, 0);
        EXPECT_TRUE(device.IsAsItWas());
        if (!failed || HasFailure()) break;
    }
}

}  // namespace
}  // namespace faults
