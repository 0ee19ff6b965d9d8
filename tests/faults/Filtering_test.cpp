// Whatever filters run over bitmaps: memory that fails at every request, tiles that fail at every lock and commit, and
// cancelling at every report. Nothing leaks, no tile stays locked, and the bitmap can be used at once.
#include <functional>

#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "support_code/TestProgress.h"
#include "zbm/RunFilters.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfNull.h"

namespace faults {
namespace {

using shr::IProgress;
using zbm::ZMemBitmap;

constexpr ColorFormat kTried[] = {shr::GRAYSCALE_8, shr::INDEXED_1, shr::INDEXED_8,
                                  shr::BGR_24,      shr::BGRA_32,   shr::PBGRA_32};
constexpr int kSourceWidth = 40, kSourceHeight = 38;

struct TileFails {};

/// A picture that counts its locks, and throws at the n-th lock or commit.
class FailingPicture : public ZMemBitmap {
public:
    explicit FailingPicture(ColorFormat format) : ZMemBitmap(kSourceWidth, kSourceHeight, format, 16, 8) {
        testkit::FillByFormula(*this);
    }
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        Step();
        ++locks;
        return ZMemBitmap::LockScanRect(row, col);
    }
    void UnlockScanRect(int row, int col) const override {
        --locks;
        ZMemBitmap::UnlockScanRect(row, col);
    }
    void CommitScanRect(int row, int col) override {
        Step();
        ZMemBitmap::CommitScanRect(row, col);
    }

    mutable int locks = 0;
    mutable int stepsLeft = -1;  // below 0: none fails

private:
    void Step() const {
        if (stepsLeft >= 0 && stepsLeft-- == 0) throw TileFails();
    }
};

struct Operation {
    const char* name;
    void (*run)(ZMemBitmap& picture, IProgress* progress);
};

/// Makes another bitmap of the picture; it must be empty if that fails.
template <class Create>
void CreateFrom(const Create& create) {
    ZBasicMemBitmap target = MakeOtherPicture<ZBasicMemBitmap>();
    try {
        create(target);
    } catch (...) {
        EXPECT_TRUE(IsEmpty(target));
        throw;
    }
}

const Operation kOperations[] = {
    {"ChangeBrightness", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.ChangeBrightness(0.3, progress)); }},
    {"ChangeContrast", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.ChangeContrast(0.3, progress)); }},
    {"ChangeSaturation", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.ChangeSaturation(0.3, progress)); }},
    {"ConvertToGrayScale", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.ConvertToGrayScale(progress)); }},
    {"Sharpen", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.Sharpen(0.5, progress)); }},
    {"Kernel3x3",
     [](ZMemBitmap& p, IProgress* progress) {
         double kernel[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
         EXPECT_TRUE(p.Convolute3x3(kernel, 0, 1, progress));
     }},
    {"Gaussian5x5",
     [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.Convolute5x5(zpixf::ZPixf5x5Mode::gaussian, progress)); }},
    {"Median3", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.MedianFilter(3, progress)); }},
    {"Median9", [](ZMemBitmap& p, IProgress* progress) { EXPECT_TRUE(p.MedianFilter(9, progress)); }},
    {"QuantizeColors",
     [](ZMemBitmap& p, IProgress* progress) {
         std::vector<RGBQUAD> palette;
         EXPECT_TRUE(p.QuantizeColors(zbm::QuantMedian8, 7, palette, progress));
     }},
    {"RunFilters",
     [](ZMemBitmap& p, IProgress* progress) {
         zpixf::ZPixfBrightness brightness;
         brightness.SetBrightness(0.3);
         zpixf::ZPixfNull movesAlpha;
         EXPECT_TRUE(zbm::RunFilters(p, {&brightness, &movesAlpha}, progress));
     }},
    {"CommitAll",
     [](ZMemBitmap& p, IProgress* progress) {
         EXPECT_TRUE(p.CommitAll(progress, true));
         EXPECT_NE(p.GetPtrToPOTReduction(1), nullptr);
     }},
    {"CreateCopy",
     [](ZMemBitmap& p, IProgress* progress) {
         CreateFrom([&](auto& target) {
             if (!target.Create(p, progress)) throw shr::AbortException();
         });
     }},
    {"CreateInFormat",
     [](ZMemBitmap& p, IProgress* progress) {
         const ColorFormat format = p.GetColorFormat() == shr::BGRA_32 ? shr::INDEXED_4 : shr::BGRA_32;
         CreateFrom([&](auto& target) { EXPECT_TRUE(target.Create(format, p, progress)); });
     }},
    {"CreateResized",
     [](ZMemBitmap& p, IProgress* progress) {
         CreateFrom([&](auto& target) {
             EXPECT_TRUE(target.Create(17, 50, p, {1, 2, 39, 38}, zbm::ResizeBicubic0, progress));
         });
     }},
};

/// The library's own classes may be filtered by shorter ways than others.
std::unique_ptr<ZMemBitmap> MakePlainPicture(ColorFormat format) {
    auto picture = std::make_unique<ZMemBitmap>(kSourceWidth, kSourceHeight, format, 16, 8);
    testkit::FillByFormula(*picture);
    return picture;
}

class Filtering : public testing::TestWithParam<Operation> {
protected:
    static void ExpectUsable(ZMemBitmap& picture) {
        EXPECT_EQ(picture.GetPixelWidth(), kSourceWidth);
        EXPECT_TRUE(HasAllTiles(picture));
        testkit::FillByFormula(picture);
        GetParam().run(picture, nullptr);
    }
    static void ExpectUsable(FailingPicture& picture) {
        EXPECT_EQ(picture.locks, 0);
        ExpectUsable(static_cast<ZMemBitmap&>(picture));
        EXPECT_EQ(picture.locks, 0);
    }
    template <class MakePicture>
    static void ExpectFailingRequestsAreSurvived(MakePicture make) {
        FailEveryRequest(
            make, [](auto& picture) { OrBadAlloc([&] { GetParam().run(*picture, nullptr); }); },
            [](auto& picture, Outcome) { ExpectUsable(*picture); });
    }
    /// Cancels at the first report, the second and so on, until there are fewer.
    template <class Picture>
    static void ExpectCancellingIsSurvived(Picture& picture) {
        for (int report = 1;; ++report) {
            testkit::TestProgress progress(report);
            bool cancelled = false;
            try {
                GetParam().run(picture, &progress);
            } catch (const shr::AbortException&) { cancelled = true; }
            EXPECT_EQ(cancelled, static_cast<int>(progress.fractions.size()) >= report);
            EXPECT_EQ(progress.openTasks, 0);
            ExpectUsable(picture);
            if (!cancelled || HasFailure()) break;
        }
    }
};
INSTANTIATE_TEST_SUITE_P(All, Filtering, testing::ValuesIn(kOperations),
                         [](const auto& test) { return std::string(test.param.name); });

/// What the library makes for its first error of this kind, and keeps.
void RaiseOnce() {
    try {
        shr::Throw_ERR_SHR_NOGLOBALMEM(zbm::ModuleName(), L"Filtering_test", 1);
    } catch (const shr::Exception&) {}
}

TEST_P(Filtering, SurvivesEveryFailingRequest) {
    RaiseOnce();
    for (const ColorFormat format : kTried) {
        SCOPED_TRACE(testkit::FormatName(format));
        ExpectFailingRequestsAreSurvived([&] { return std::make_unique<FailingPicture>(format); });
    }
    for (const ColorFormat format : {shr::INDEXED_8, shr::BGR_24, shr::BGRA_32}) {
        SCOPED_TRACE(testkit::FormatName(format) + " of the library's class");
        ExpectFailingRequestsAreSurvived([&] { return MakePlainPicture(format); });
    }
}

TEST_P(Filtering, PassesOnWhatEveryTileThrows) {
    for (const ColorFormat format : kTried) {
        SCOPED_TRACE(testkit::FormatName(format));
        FailingPicture picture(format);
        for (int step = 0;; ++step) {
            bool failed = false;
            picture.stepsLeft = step;
            try {
                GetParam().run(picture, nullptr);
            } catch (const TileFails&) { failed = true; }
            const bool met = picture.stepsLeft < 0;
            picture.stepsLeft = -1;
            EXPECT_EQ(failed, met);
            EXPECT_EQ(picture.locks, 0) << "step " << step;
            if (!met || HasFailure()) break;
        }
        ExpectUsable(picture);
    }
}

TEST_P(Filtering, IsCancelledAtEveryReport) {
    for (const ColorFormat format : kTried) {
        SCOPED_TRACE(testkit::FormatName(format));
        FailingPicture picture(format);
        ExpectCancellingIsSurvived(picture);
        ExpectCancellingIsSurvived(*MakePlainPicture(format));
    }
}

}  // namespace
}  // namespace faults
