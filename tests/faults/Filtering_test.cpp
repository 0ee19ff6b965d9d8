// Whatever filters run over bitmaps: memory that fails at every request, tiles that fail at every lock and commit, and
// cancelling at every report. Nothing leaks, no tile stays locked, and the bitmap can be used at once.
#include <functional>

#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "support_code/TestProgress.h"

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
    void (*run)(FailingPicture& picture, IProgress* progress);
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
    {"ChangeBrightness", [](FailingPicture& p, IProgress* progress) { p.ChangeBrightness(0.3, progress); }},
    {"ChangeContrast", [](FailingPicture& p, IProgress* progress) { p.ChangeContrast(0.3, progress); }},
    {"ChangeSaturation", [](FailingPicture& p, IProgress* progress) { p.ChangeSaturation(0.3, progress); }},
    {"ConvertToGrayScale", [](FailingPicture& p, IProgress* progress) { p.ConvertToGrayScale(progress); }},
    {"Sharpen", [](FailingPicture& p, IProgress* progress) { p.Sharpen(0.5, progress); }},
    {"Median3", [](FailingPicture& p, IProgress* progress) { p.MedianFilter(3, progress); }},
    {"Median9", [](FailingPicture& p, IProgress* progress) { p.MedianFilter(9, progress); }},
    {"QuantizeColors",
     [](FailingPicture& p, IProgress* progress) {
         std::vector<RGBQUAD> palette;
         p.QuantizeColors(zbm::QuantMedian8, 7, palette, progress);
     }},
    {"CommitAll",
     [](FailingPicture& p, IProgress* progress) {
         EXPECT_TRUE(p.CommitAll(progress, true));
         EXPECT_NE(p.GetPtrToPOTReduction(1), nullptr);
     }},
    {"CreateCopy",
     [](FailingPicture& p, IProgress* progress) {
         CreateFrom([&](auto& target) {
             if (!target.Create(p, progress)) throw shr::AbortException();
         });
     }},
    {"CreateInFormat",
     [](FailingPicture& p, IProgress* progress) {
         const ColorFormat format = p.GetColorFormat() == shr::BGRA_32 ? shr::INDEXED_4 : shr::BGRA_32;
         CreateFrom([&](auto& target) { EXPECT_TRUE(target.Create(format, p, progress)); });
     }},
    {"CreateResized",
     [](FailingPicture& p, IProgress* progress) {
         CreateFrom([&](auto& target) {
             EXPECT_TRUE(target.Create(17, 50, p, {1, 2, 39, 38}, zbm::ResizeBicubic0, progress));
         });
     }},
};

class Filtering : public testing::TestWithParam<Operation> {
protected:
    static void ExpectUsable(FailingPicture& picture) {
        EXPECT_EQ(picture.locks, 0);
        EXPECT_EQ(picture.GetPixelWidth(), kSourceWidth);
        EXPECT_TRUE(HasAllTiles(picture));
        testkit::FillByFormula(picture);
        GetParam().run(picture, nullptr);
        EXPECT_EQ(picture.locks, 0);
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
        FailEveryRequest([&] { return std::make_unique<FailingPicture>(format); },
                         [](auto& picture) { OrBadAlloc([&] { GetParam().run(*picture, nullptr); }); },
                         [](auto& picture, Outcome) { ExpectUsable(*picture); });
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
        for (int report = 1;; ++report) {
            testkit::TestProgress progress(report);
            bool cancelled = false;
            try {
                GetParam().run(picture, &progress);
            } catch (const shr::AbortException&) { cancelled = true; }
            EXPECT_EQ(cancelled, static_cast<int>(progress.fractions.size()) >= report);
            EXPECT_EQ(progress.openTasks, 0);
            EXPECT_EQ(picture.locks, 0);
            if (!cancelled || HasFailure()) break;
        }
        ExpectUsable(picture);
    }
}

}  // namespace
}  // namespace faults
