// Whatever filters run over bitmaps, line by line or from tile to tile: memory that fails at every request, tiles that
// fail at every lock and commit, and cancelling at every report. Nothing leaks, no tile stays locked, and the bitmap
// can be used at once.
#include <functional>

#include "core/TileReading.h"
#include "faults/FaultInjection.h"
#include "faults/FaultyBitmaps.h"
#include "support_code/TestProgress.h"
#include "zbm/IndexedColors.h"
#include "zbm/RunFilters.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfNull.h"

namespace faults {
namespace {

using shr::IProgress;
using zbm::ZMemBitmap;

constexpr ColorFormat kTried[] = {shr::GRAYSCALE_8, shr::INDEXED_1, shr::INDEXED_8,
                                  shr::BGR_24,      shr::BGRA_32,   shr::PBGRA_32};
constexpr int kSourceWidth = 40, kSourceHeight = 38;

struct TileFails {};

/// A picture that counts its locks, and throws at the n-th lock or commit. It is filtered line by line.
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

/// The same, filtered from tile to tile, as the library's own classes are.
class FailingPictureByTiles final : public FailingPicture {
public:
    using FailingPicture::FailingPicture;
};
const zbm::ToldTileReading kTold(typeid(FailingPictureByTiles), {.resident = &zbm::TileInMemory});

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

/// Converts one into the other; if that fails, the result must have its former colours.
void MakeIndexed(const zbm::ZBitmap& source, zbm::ZBitmap& result, zbm::Dither dither, IProgress* progress) {
    const auto tableOf = [&] {
        const shr::Color4b* colors = result.GetConstColorTablePtr();
        return std::vector<shr::Color4b>(colors, colors + result.GetNumColorTableItems());
    };
    const auto before = tableOf();
    zpixf::ZPixfDither::FreeKeptTables();  // so that they are asked for
    try {
        zbm::ConvertToIndexed(source, result, {.most = 9, .dither = dither}, progress);
    } catch (...) {
        EXPECT_EQ(tableOf(), before);
        throw;
    }
}

template <zbm::Dither kDither>
void ConvertToIndexed(ZMemBitmap& picture, IProgress* progress) {
    if (picture.GetColorFormat() != shr::BGR_24) return;  // the source is read in one way whatever its format
    ZBasicMemBitmap result = testkit::FormulaBitmap(kSourceWidth, kSourceHeight, shr::INDEXED_4, 9, 13);
    MakeIndexed(picture, result, kDither, progress);
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
    {"ConvertToIndexed", &ConvertToIndexed<zbm::Dither::none>},
    {"ConvertToIndexedOrdered", &ConvertToIndexed<zbm::Dither::ordered>},
    {"ConvertToIndexedDiffused", &ConvertToIndexed<zbm::Dither::diffusion>},
    {"ConvertToIndexedInBlueNoise", &ConvertToIndexed<zbm::Dither::blueNoise>},
    {"BecomeIndexed",
     [](ZMemBitmap& p, IProgress* progress) {
         if (p.GetColorFormat() != shr::INDEXED_8) return;
         const auto source = testkit::FormulaBitmap(kSourceWidth, kSourceHeight, shr::BGRA_32, 16, 20);
         MakeIndexed(source, p, zbm::Dither::diffusion, progress);
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
    {"CreateHalf",
     [](ZMemBitmap& p, IProgress* progress) {
         CreateFrom([&](auto& target) {
             EXPECT_TRUE(target.Create(20, 19, p, {0, 0, 40, 38}, zbm::ResizeBilinear, progress));
         });
     }},
    {"CreateOfNearest",
     [](ZMemBitmap& p, IProgress* progress) {
         CreateFrom([&](auto& target) {
             EXPECT_TRUE(target.Create(17, 50, p, {1, 2, 39, 38}, zbm::ResizePlain, progress));
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
    template <class Picture>
    static void ExpectFailingRequestsAreSurvived() {
        for (const ColorFormat format : kTried) {
            SCOPED_TRACE(testkit::FormatName(format));
            FailEveryRequest([&] { return std::make_unique<Picture>(format); },
                             [](auto& picture) { OrBadAlloc([&] { GetParam().run(*picture, nullptr); }); },
                             [](auto& picture, Outcome) { ExpectUsable(*picture); });
        }
    }
    /// At the first lock or commit, the second and so on, until there are fewer.
    template <class Picture>
    static void ExpectFailingTilesAreSurvived() {
        for (const ColorFormat format : kTried) {
            SCOPED_TRACE(testkit::FormatName(format));
            Picture picture(format);
            for (int step = 0; FailsAt(picture, step) && !HasFailure(); ++step)
                EXPECT_EQ(picture.locks, 0) << "step " << step;
            ExpectUsable(picture);
        }
    }
    /// Cancels at the first report, the second and so on, until there are fewer.
    template <class Picture>
    static void ExpectCancellingIsSurvived() {
        for (const ColorFormat format : kTried) {
            SCOPED_TRACE(testkit::FormatName(format));
            Picture picture(format);
            for (int report = 1; IsCancelledAt(picture, report) && !HasFailure(); ++report) ExpectUsable(picture);
        }
    }

private:
    /// Whether there was such a step.
    static bool FailsAt(FailingPicture& picture, int step) {
        bool failed = false;
        picture.stepsLeft = step;
        try {
            GetParam().run(picture, nullptr);
        } catch (const TileFails&) { failed = true; }
        const bool met = picture.stepsLeft < 0;
        picture.stepsLeft = -1;
        EXPECT_EQ(failed, met);
        return met;
    }
    static bool IsCancelledAt(FailingPicture& picture, int report) {
        testkit::TestProgress progress(report);
        bool cancelled = false;
        try {
            GetParam().run(picture, &progress);
        } catch (const shr::AbortException&) { cancelled = true; }
        EXPECT_EQ(cancelled, static_cast<int>(progress.fractions.size()) >= report);
        EXPECT_EQ(progress.openTasks, 0);
        return cancelled;
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
    ExpectFailingRequestsAreSurvived<FailingPicture>();
    ExpectFailingRequestsAreSurvived<FailingPictureByTiles>();
}

TEST_P(Filtering, PassesOnWhatEveryTileThrows) {
    ExpectFailingTilesAreSurvived<FailingPicture>();
    ExpectFailingTilesAreSurvived<FailingPictureByTiles>();
}

TEST_P(Filtering, IsCancelledAtEveryReport) {
    ExpectCancellingIsSurvived<FailingPicture>();
    ExpectCancellingIsSurvived<FailingPictureByTiles>();
}

}  // namespace
}  // namespace faults
