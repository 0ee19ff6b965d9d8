// A bitmap on a file of its own: made, closed, opened again.
#include "zbm/ZScanRectFileBitmap.h"

#include <gtest/gtest.h>

#include "core/checks/ScanRectFileBitmapChecks.h"
#include "file/FileImage.h"
#include "file/OpenFileBitmaps.h"
#include "support_code/ExpectError.h"
#include "support_code/TestProgress.h"

namespace {

using namespace testkit;
using zbm::ScanRectFileBitmapCheck;
using zbm::ZBasicMemBitmap;

class FileBitmap : public testing::Test {
protected:
    std::unique_ptr<OpenFileBitmap> Opened(bool readOnly) const {
        auto bitmap = std::make_unique<OpenFileBitmap>();
        bitmap->Open(name, readOnly);
        return bitmap;
    }

    ScratchFolder scratch;
    const shr::ZString name = scratch.File("picture");
};

TEST_F(FileBitmap, OfEveryFormatIsThereAgainWhenItIsOpened) {
    for (const ColorFormat format : kFormats) {
        const ZBasicMemBitmap picture = FormulaBitmap(70, 50, format, 64, 20);
        OnFile(name, picture)->Close();
        EXPECT_TRUE(AreEqual(*Opened(true), picture)) << FormatName(format);
        EXPECT_TRUE(AreEqual(*Opened(false), picture)) << FormatName(format);
    }
}

TEST_F(FileBitmap, OpenedForWritingKeepsItsChanges) {
    const ZBasicMemBitmap before = FormulaBitmap(70, 50, shr::INDEXED_8, 64, 20);
    ZBasicMemBitmap after = before;
    SetPixel(after, 65, 45, 99);
    SetMask(after, 65, 45, !FormulaMask(65, 45));
    after.SetXResolution(4321);
    OnFile(name, before)->Close();
    StoreAll(after, *Opened(false));
    EXPECT_TRUE(AreEqual(*Opened(true), after));
}

TEST_F(FileBitmap, ThatIsClosedIsOfNoPixelsInTilesOf512) {
    OpenFileBitmap bitmap;
    bitmap.CreateEmpty(name, 600, 30, shr::BGR_24);
    EXPECT_TRUE(bitmap.IsFileOpen());
    bitmap.Close();
    EXPECT_FALSE(bitmap.IsFileOpen());
    EXPECT_EQ(bitmap.GetFileName(), name);
    EXPECT_EQ(bitmap.GetPixelWidth(), 0);
    EXPECT_EQ(bitmap.GetPixelHeight(), 0);
    EXPECT_EQ(bitmap.GetColorFormat(), shr::BGRA_32);
    EXPECT_EQ(bitmap.GetScanRectWidth(), 512);
    EXPECT_EQ(bitmap.GetScanRectHeight(), 512);
}

}  // namespace
