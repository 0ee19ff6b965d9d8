// How cancelling arrives at the caller of each long operation, and what it leaves, whichever report cancels.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "support_code/ArchiveBytes.h"
#include "support_code/FormulaPicture.h"
#include "support_code/TestProgress.h"
#include "zbm/RunFilters.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"

namespace {

using testkit::FormulaBitmap;
using testkit::TestProgress;
using zbm::ZBasicMemBitmap;
using zbm::ZMemBitmap;

enum class Arrives { asFalse, asAbortException };
enum class Left { thePicture, linesOfBoth, onePixel, nothing };

constexpr int kWidth = 70, kHeight = 250;

/// High enough for several reports of a filter, and of several rows of tiles.
ZBasicMemBitmap Source(shr::ColorFormat format) { return FormulaBitmap(kWidth, kHeight, format, 32, 100); }

bool Serialize(ZMemBitmap& bitmap, testkit::PlainArchive& archive, shr::IProgress* progress) {
    zbm::SerializeIO io(archive, true);
    return bitmap.Serialize(io, progress, nullptr);
}

bool Store(ZMemBitmap& bitmap, shr::IProgress* progress) {
    testkit::PlainArchive archive;
    return Serialize(bitmap, archive, progress);
}

bool Load(ZMemBitmap& bitmap, shr::IProgress* progress) {
    testkit::PlainArchive stored;
    EXPECT_TRUE(Serialize(bitmap, stored, nullptr));
    testkit::PlainArchive archive(stored.bytes);
    return Serialize(bitmap, archive, progress);
}

bool Quantize(ZMemBitmap& bitmap, shr::IProgress* progress) {
    std::vector<RGBQUAD> palette;
    return bitmap.QuantizeColors(zbm::QuantMedian8, 9, palette, progress);
}

bool Filter(ZMemBitmap& bitmap, shr::IProgress* progress) {
    zpixf::ZPixfDesaturate filter;
    return bitmap.FilterScanLines(filter, progress);
}

bool RunTwo(ZMemBitmap& bitmap, shr::IProgress* progress) {
    zpixf::ZPixfDesaturate first;
    zpixf::ZPixfConvolution3 second;
    second.SetConvolution(zpixf::ZPixf3x3Mode::blur);
    return zbm::RunFilters(bitmap, {&first, &second}, progress);
}

template <bool (zbm::ZBitmap::*adjust)(double, shr::IProgress*)>
bool Adjust(ZMemBitmap& bitmap, shr::IProgress* progress) {
    return (bitmap.*adjust)(0.5, progress);
}

double sharp[25] = {0, -1, 0, -1, 5, -1, 0, -1, 0};

struct Operation {
    const char* name;
    Arrives arrives;
    Left left;
    std::function<bool(ZMemBitmap& bitmap, shr::IProgress* progress)> run;
};
void PrintTo(const Operation& operation, std::ostream* out) { *out << operation.name; }

using Bitmap = ZMemBitmap;
using Progress = shr::IProgress;
const Operation kOperations[] = {
    {"Store", Arrives::asFalse, Left::thePicture, &Store},
    {"Load", Arrives::asFalse, Left::onePixel, &Load},
    {"CreateCopy", Arrives::asFalse, Left::nothing,
     [](Bitmap& bitmap, Progress* progress) {
         ZBasicMemBitmap source = Source(shr::BGR_24);
         return bitmap.Create(source, progress);
     }},
    {"CreateInItsOwnFormat", Arrives::asFalse, Left::nothing,
     [](Bitmap& bitmap, Progress* progress) {
         ZBasicMemBitmap source = Source(shr::BGR_24);
         return bitmap.Create(shr::BGR_24, source, progress);
     }},
    {"CreateInAnotherFormat", Arrives::asAbortException, Left::nothing,
     [](Bitmap& bitmap, Progress* progress) {
         ZBasicMemBitmap source = Source(shr::BGR_24);
         return bitmap.Create(shr::GRAYSCALE_8, source, progress);
     }},
    {"CreateIndexed", Arrives::asAbortException, Left::nothing,
     [](Bitmap& bitmap, Progress* progress) {
         ZBasicMemBitmap source = Source(shr::BGR_24);
         return bitmap.Create(shr::INDEXED_8, source, progress);
     }},
    {"CreateAtAnotherSize", Arrives::asAbortException, Left::nothing,
     [](Bitmap& bitmap, Progress* progress) {
         ZBasicMemBitmap source = Source(shr::BGR_24);
         return bitmap.Create(90, 300, source, {0, 0, kWidth, kHeight}, zbm::ResizeBilinear, progress);
     }},
    {"FilterScanLines", Arrives::asAbortException, Left::linesOfBoth, &Filter},
    {"RunFilters", Arrives::asAbortException, Left::linesOfBoth, &RunTwo},
    {"ChangeBrightness", Arrives::asAbortException, Left::linesOfBoth, &Adjust<&zbm::ZBitmap::ChangeBrightness>},
    {"ChangeContrast", Arrives::asAbortException, Left::linesOfBoth, &Adjust<&zbm::ZBitmap::ChangeContrast>},
    {"ChangeSaturation", Arrives::asAbortException, Left::linesOfBoth, &Adjust<&zbm::ZBitmap::ChangeSaturation>},
    {"Sharpen", Arrives::asAbortException, Left::linesOfBoth, &Adjust<&zbm::ZBitmap::Sharpen>},
    {"ConvertToGrayScale", Arrives::asAbortException, Left::linesOfBoth,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.ConvertToGrayScale(progress); }},
    {"Convolute3x3", Arrives::asAbortException, Left::linesOfBoth,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.Convolute3x3(sharp, 1, 0, progress); }},
    {"Convolute3x3Mode", Arrives::asAbortException, Left::linesOfBoth,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.Convolute3x3(zpixf::ZPixf3x3Mode::blur, progress); }},
    {"Convolute5x5", Arrives::asAbortException, Left::linesOfBoth,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.Convolute5x5(sharp, 1, 0, progress); }},
    {"Convolute5x5Mode", Arrives::asAbortException, Left::linesOfBoth,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.Convolute5x5(zpixf::ZPixf5x5Mode::blur, progress); }},
    {"MedianFilter", Arrives::asAbortException, Left::linesOfBoth,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.MedianFilter(3, progress); }},
    {"QuantizeColors", Arrives::asAbortException, Left::linesOfBoth, &Quantize},
    {"CommitAll", Arrives::asAbortException, Left::thePicture,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.CommitAll(progress); }},
    {"CommitAllAnew", Arrives::asAbortException, Left::thePicture,
     [](Bitmap& bitmap, Progress* progress) { return bitmap.CommitAll(progress, true); }},
};

class Cancelling : public testing::TestWithParam<Operation> {
protected:
    /// Whether the operation was cancelled. It must have been in the way that is stated.
    static bool IsCancelled(const Operation& operation, ZMemBitmap& bitmap, TestProgress& progress) {
        try {
            const bool done = operation.run(bitmap, &progress);
            if (!done) { EXPECT_EQ(operation.arrives, Arrives::asFalse); }
            return !done;
        } catch (const shr::AbortException&) { EXPECT_EQ(operation.arrives, Arrives::asAbortException); }
        return true;
    }

    static void ExpectLeft(Left left, ZMemBitmap& bitmap) {
        switch (left) {
            case Left::thePicture: EXPECT_TRUE(testkit::IsFormulaPicture(bitmap)); return;
            case Left::linesOfBoth:
                EXPECT_EQ(bitmap.GetPixelWidth(), kWidth);
                EXPECT_EQ(bitmap.GetPixelHeight(), kHeight);
                // No report comes between the last line's and the end of the picture.
                for (int x = 0; x < kWidth; ++x)
                    EXPECT_EQ(testkit::GetPixel(bitmap, x, kHeight - 1),
                              testkit::FormulaPixel(bitmap.GetColorFormat(), x, kHeight - 1));
                return;
            case Left::onePixel:
                EXPECT_EQ(bitmap.GetPixelWidth(), 1);
                EXPECT_EQ(bitmap.GetPixelHeight(), 1);
                EXPECT_EQ(bitmap.GetColorFormat(), shr::BGRA_32);
                return;
            case Left::nothing:
                EXPECT_EQ(bitmap.GetColorFormat(), shr::FORMAT_NONE);
                EXPECT_EQ(bitmap.GetNumScanRectRows(), 0);
        }
    }
};
INSTANTIATE_TEST_SUITE_P(All, Cancelling, testing::ValuesIn(kOperations),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(Cancelling, ArrivesAsStatedAtEveryReport) {
    for (int report = 1;; ++report) {
        ZMemBitmap bitmap(1, 1, shr::BGRA_32);
        bitmap.Create(Source(shr::BGR_24));
        TestProgress progress(report);
        if (!IsCancelled(GetParam(), bitmap, progress)) {
            EXPECT_GT(report, 1) << "it reports nothing";
            break;
        }
        EXPECT_EQ(progress.openTasks, 0);
        const bool isLastReport = progress.fractions.back() == 1.0;  // of a filter, whose work is done by then
        if (GetParam().left != Left::linesOfBoth || !isLastReport) ExpectLeft(GetParam().left, bitmap);
        bitmap.Create(3, 3, shr::BGR_24);
        EXPECT_TRUE(bitmap.ChangeBrightness(0.5, nullptr)) << "it is not usable";
        ASSERT_LT(report, 100);
    }
}

TEST(CancelledReductions, AreDroppedAndBuiltByTheNextCommit) {
    ZMemBitmap bitmap(1, 1, shr::BGRA_32);
    bitmap.Create(Source(shr::BGR_24));
    TestProgress progress(1);
    EXPECT_THROW(static_cast<void>(bitmap.CommitAll(&progress)), shr::AbortException);
    EXPECT_EQ(bitmap.GetPtrToPOTReduction(1), nullptr);
    EXPECT_TRUE(bitmap.CommitAll(nullptr));
    EXPECT_NE(bitmap.GetPtrToPOTReduction(1), nullptr);
}

/// What an archive was stored with counts as current, and so does what a copy got.
TEST(Reductions, ThatCameWithAPictureAreBuiltByACommitThatRebuilds) {
    ZMemBitmap uncommitted(1, 1, shr::BGRA_32);
    uncommitted.Create(Source(shr::BGR_24));
    ZMemBitmap copy(uncommitted), loaded(1, 1, shr::BGRA_32);
    testkit::PlainArchive stored;
    ASSERT_TRUE(Serialize(uncommitted, stored, nullptr));
    testkit::PlainArchive archive(stored.bytes);
    ASSERT_TRUE(Serialize(loaded, archive, nullptr));
    for (ZMemBitmap* bitmap : {&copy, &loaded}) {
        EXPECT_TRUE(bitmap->CommitAll(nullptr));
        EXPECT_EQ(bitmap->GetPtrToPOTReduction(1), nullptr);
        EXPECT_TRUE(bitmap->CommitAll(nullptr, true));
        EXPECT_NE(bitmap->GetPtrToPOTReduction(1), nullptr);
    }
}

}  // namespace
