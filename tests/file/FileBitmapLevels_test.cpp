// The reductions of a bitmap in a file.
#include <gtest/gtest.h>

#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileBitmapTesting.h"
#include "support_code/TestProgress.h"
#include "zbm/ZMemBitmap.h"

namespace {

using namespace testkit;
using zbm::ZBasicMemBitmap;
using zbm::ZMemBitmap;

using FileLevels = FileBitmapTest;

/// Whether all levels are those that the picture has in memory.
testing::AssertionResult HasLevelsOf(OpenFileBitmap& bitmap, const ZBasicMemBitmap& picture) {
    ZMemBitmap expected(1, 1, shr::BGRA_32);
    expected.Create(picture);
    if (!expected.CommitAll(nullptr)) return testing::AssertionFailure() << "no levels in memory";
    for (unsigned level = 1;; ++level) {
        zbm::ZBitmap* const found = bitmap.GetPtrToPOTReduction(level);
        zbm::ZBitmap* const wanted = expected.GetPtrToPOTReduction(level);
        if (wanted == nullptr || found == nullptr)
            return (wanted == found ? testing::AssertionSuccess() : testing::AssertionFailure())
                   << "the number of levels differs";
        const auto equal = IsEqual(*found, *wanted);
        if (!equal) return testing::AssertionFailure() << "level " << level << ": " << equal.message();
    }
}

TEST_F(FileLevels, AreThoseOfABitmapInMemory) {
    for (const ColorFormat format : kFormats) {
        const ZBasicMemBitmap picture = FormulaBitmap(150, 137, format, 64, 50);
        const auto bitmap = OnFile(name, picture);
        ASSERT_TRUE(bitmap->CommitAll(nullptr));
        EXPECT_TRUE(HasLevelsOf(*bitmap, picture)) << FormatName(format);
        bitmap->Close();
        const auto opened = Opened(true);
        EXPECT_TRUE(IsEqual(*opened, picture)) << FormatName(format);
        EXPECT_TRUE(HasLevelsOf(*opened, picture)) << FormatName(format);
    }
}

}  // namespace
