// Which functions of the device are called, in which order and with what. The same on both systems: a table of the
// test's own stands in the device's place.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <sstream>
#include <stdexcept>

#include "core/OpenBitmaps.h"
#include "device/DeviceFunctions.h"
#include "support_code/FormulaPicture.h"

namespace {

using testkit::OpenBitmap;
using Calls = std::vector<std::string>;

constexpr int kMin = std::numeric_limits<int>::min(), kMax = std::numeric_limits<int>::max();

/// A device that notes what it is asked, and the bitmap's locks with it.
struct Recorder {
    Calls calls;
    RECT clip{0, 0, 1000, 1000};
    int clipKind = SIMPLEREGION;
    bool saves = true;
    POINT offset{0, 0};  ///< of device units from logical ones
    int locked = 0;
    int drawnWhileLocked = 0;
};
Recorder* recorder = nullptr;

int anyContext;
const HDC kContext = reinterpret_cast<HDC>(&anyContext);

template <class... Values>
void Record(const char* name, const Values&... values) {
    std::ostringstream text;
    text << name;
    ((text << ' ' << values), ...);
    recorder->calls.push_back(text.str());
    if (recorder->locked > 0) ++recorder->drawnWhileLocked;
}

/// The size and depth that a drawn DIB's header states, and whether these are the bits that go with it.
std::string Described(const void* bits, const BITMAPINFO* info) {
    const BITMAPINFOHEADER& header = info->bmiHeader;
    const std::size_t table = header.biBitCount <= 8 ? std::size_t{4} << header.biBitCount : 0;
    const bool together = bits == reinterpret_cast<const std::uint8_t*>(info) + header.biSize + table;
    std::ostringstream text;
    text << header.biWidth << 'x' << header.biHeight << 'x' << header.biBitCount << (together ? "" : " elsewhere");
    return text.str();
}

const zbm::DeviceFunctions kRecording = {
    .getClipBox =
        [](HDC, RECT* box) {
            Record("GetClipBox");
            *box = recorder->clip;
            return recorder->clipKind;
        },
    .intersectRect =
        [](RECT* result, const RECT* a, const RECT* b) {
            Record("IntersectRect", a->left, a->top, a->right, a->bottom, '|', b->left, b->top, b->right, b->bottom);
            return ::IntersectRect(result, a, b);
        },
    .lpToDp =
        [](HDC, POINT* points, int count) {
            Record("LPtoDP", count, points[0].x, points[0].y, points[1].x, points[1].y);
            for (int i = 0; i < count; ++i) {
                points[i].x += recorder->offset.x;
                points[i].y += recorder->offset.y;
            }
            return BOOL{TRUE};
        },
    .saveDc =
        [](HDC) {
            Record("SaveDC");
            return recorder->saves ? 1 : 0;
        },
    .restoreDc =
        [](HDC, int saved) {
            Record("RestoreDC", saved);
            return BOOL{TRUE};
        },
    .setMapMode =
        [](HDC, int mode) {
            Record("SetMapMode", mode);
            return 1;
        },
    .setViewportOrgEx =
        [](HDC, int x, int y, POINT* old) {
            Record("SetViewportOrgEx", x, y, old == nullptr);
            return BOOL{TRUE};
        },
    .setViewportExtEx =
        [](HDC, int width, int height, SIZE* old) {
            Record("SetViewportExtEx", width, height, old == nullptr);
            return BOOL{TRUE};
        },
    .setStretchBltMode =
        [](HDC, int mode) {
            Record("SetStretchBltMode", mode);
            return 1;
        },
    .stretchDiBits =
        [](HDC, int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth, int sourceHeight,
           const void* bits, const BITMAPINFO* info, UINT usage, DWORD operation) {
            Record("StretchDIBits", x, y, width, height, sourceX, sourceY, sourceWidth, sourceHeight,
                   Described(bits, info), usage, operation);
            return sourceHeight;
        },
    .setDiBitsToDevice =
        [](HDC, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT firstLine, UINT lines,
           const void* bits, const BITMAPINFO* info, UINT usage) {
            Record("SetDIBitsToDevice", x, y, width, height, sourceX, sourceY, firstLine, lines, Described(bits, info),
                   usage);
            return static_cast<int>(lines);
        },
};

/// A bitmap whose locks are noted among the device's calls.
class NotingBitmap : public OpenBitmap {
public:
    using OpenBitmap::OpenBitmap;
    zbm::ZScanRect& LockScanRect(int row, int col) const override {
        Record("Lock", row, col);
        if (row == failingRow && col == failingCol) throw std::runtime_error("the tile cannot be read");
        ++recorder->locked;
        return OpenBitmap::LockScanRect(row, col);
    }
    void UnlockScanRect(int row, int col) const override {
        --recorder->locked;
        Record("Unlock", row, col);
    }
    int failingRow = -1, failingCol = -1;
};

class RecordedCalls : public testing::Test {
protected:
    RecordedCalls() { recorder = &record; }
    ~RecordedCalls() override { recorder = nullptr; }

    Recorder record;
    const zbm::ScopedDevice device{kRecording};
};
using SetPixelsOnDevice = RecordedCalls;
using StretchToLogRect = RecordedCalls;

// 10 x 7 pixels in tiles of 6 x 4: two rows of two.
constexpr int kWidth = 10, kHeight = 7;

TEST_F(SetPixelsOnDevice, LocksAndDrawsTileByTile) {
    NotingBitmap bitmap(kWidth, kHeight, shr::BGRA_32, 6, 4);
    bitmap.SetPixelsOnDevice(kContext, 100, 200);
    EXPECT_EQ(record.calls,
              (Calls{"GetClipBox", "IntersectRect 100 200 106 204 | 0 0 1000 1000", "Lock 0 0", "Unlock 0 0",
                     "SetDIBitsToDevice 100 200 6 4 0 0 0 4 6x4x32 0", "IntersectRect 106 200 110 204 | 0 0 1000 1000",
                     "Lock 0 1", "Unlock 0 1", "SetDIBitsToDevice 106 200 4 4 0 0 0 4 4x4x32 0",
                     "IntersectRect 100 204 106 207 | 0 0 1000 1000", "Lock 1 0", "Unlock 1 0",
                     "SetDIBitsToDevice 100 204 6 3 0 0 0 3 6x3x32 0", "IntersectRect 106 204 110 207 | 0 0 1000 1000",
                     "Lock 1 1", "Unlock 1 1", "SetDIBitsToDevice 106 204 4 3 0 0 0 3 4x3x32 0"}));
    EXPECT_EQ(record.drawnWhileLocked, 0);
}

TEST_F(SetPixelsOnDevice, TouchesOnlyTilesThatMeetTheClipBox) {
    NotingBitmap bitmap(kWidth, kHeight, shr::INDEXED_8, 6, 4);
    record.clip = {7, 5, 8, 6};
    record.clipKind = COMPLEXREGION;
    bitmap.SetPixelsOnDevice(kContext, 0, 0);
    Calls others;
    for (const std::string& call : record.calls)
        if (call.rfind("IntersectRect", 0) != 0) others.push_back(call);
    EXPECT_EQ(others, (Calls{"GetClipBox", "Lock 1 1", "Unlock 1 1", "SetDIBitsToDevice 6 4 4 3 0 0 0 3 4x3x8 0"}));
}

TEST_F(SetPixelsOnDevice, OnlyAnErrorOfTheClipBoxEndsIt) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_8, 16, 16);
    record.clipKind = 0;
    bitmap.SetPixelsOnDevice(kContext, 0, 0);
    EXPECT_EQ(record.calls, Calls{"GetClipBox"});
    record.calls.clear();
    record.clipKind = NULLREGION;
    bitmap.SetPixelsOnDevice(kContext, 0, 0);
    EXPECT_EQ(record.calls.back(), "SetDIBitsToDevice 0 0 10 7 0 0 0 7 10x7x8 0");
}

TEST_F(SetPixelsOnDevice, PlacesBeyondAllNumbersMeetNothing) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_8, 6, 4);
    record.clip = {kMin, kMin, kMax, kMax};
    bitmap.SetPixelsOnDevice(kContext, kMax - 3, kMax - 2);
    EXPECT_EQ(record.calls.back(), "SetDIBitsToDevice 2147483644 2147483645 6 4 0 0 0 4 6x4x8 0");
    EXPECT_EQ(record.calls.size(), 5u);
    record.calls.clear();
    bitmap.SetPixelsOnDevice(kContext, kMin, kMin);
    EXPECT_EQ(record.calls.back(), "SetDIBitsToDevice -2147483642 -2147483644 4 3 0 0 0 3 4x3x8 0");
}

TEST_F(SetPixelsOnDevice, OfABitmapWithoutTilesAsksForTheClipBoxAlone) {
    NotingBitmap bitmap;
    bitmap.SetPixelsOnDevice(kContext, 0, 0);
    EXPECT_EQ(record.calls, Calls{"GetClipBox"});
}

const Calls kPrepared = {"SaveDC", "SetMapMode 1", "SetViewportOrgEx 0 0 1", "SetViewportExtEx 1 1 1"};

TEST_F(StretchToLogRect, LocksAndStretchesTileByTileWithoutGaps) {
    NotingBitmap bitmap(kWidth, kHeight, shr::BGR_24, 6, 4);
    record.offset = {1000, 2000};
    record.clip = {0, 0, 300, 400};
    RECT rect{10, 20, 35, 37};
    bitmap.StretchToLogRect(kContext, rect);
    Calls expected{"GetClipBox", "LPtoDP 2 0 0 300 400", "LPtoDP 2 10 20 35 37"};
    expected.insert(expected.end(), kPrepared.begin(), kPrepared.end());
    // 10 x 7 pixels onto 25 x 17: 6 -> 15, 4 -> 9.71.
    const std::string meets = "IntersectRect 1010 2020 1035 2037 | 1000 2000 1300 2400", mode = "SetStretchBltMode 3";
    const Calls tiles{meets, "Lock 0 0", "Unlock 0 0", mode, "StretchDIBits 1010 2020 15 10 0 0 6 4 6x4x24 0 13369376",
                      meets, "Lock 0 1", "Unlock 0 1", mode, "StretchDIBits 1025 2020 10 10 0 0 4 4 4x4x24 0 13369376",
                      meets, "Lock 1 0", "Unlock 1 0", mode, "StretchDIBits 1010 2030 15 7 0 0 6 3 6x3x24 0 13369376",
                      meets, "Lock 1 1", "Unlock 1 1", mode, "StretchDIBits 1025 2030 10 7 0 0 4 3 4x3x24 0 13369376"};
    expected.insert(expected.end(), tiles.begin(), tiles.end());
    expected.push_back("RestoreDC -1");
    EXPECT_EQ(record.calls, expected);
    EXPECT_EQ(record.drawnWhileLocked, 0);
    EXPECT_TRUE(rect.left == 10 && rect.top == 20 && rect.right == 35 && rect.bottom == 37);
}

std::ptrdiff_t CountOf(const Calls& calls, const std::string& start) {
    return std::count_if(calls.begin(), calls.end(), [&](const auto& call) { return call.rfind(start, 0) == 0; });
}

TEST_F(StretchToLogRect, DrawsAllTilesIfAnyMayShow) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_1, 6, 4);
    record.clip = {0, 0, 1, 1};
    RECT rect{0, 0, 100, 70};
    bitmap.StretchToLogRect(kContext, rect);
    EXPECT_EQ(CountOf(record.calls, "StretchDIBits"), 4);
}

TEST_F(StretchToLogRect, DrawsNothingOutsideOfTheClipBoxOrMirrored) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_1, 6, 4);
    for (RECT rect : {RECT{2000, 0, 3000, 10}, RECT{100, 0, 0, 70}, RECT{0, 70, 100, 0}, RECT{5, 5, 5, 5}}) {
        record.calls.clear();
        bitmap.StretchToLogRect(kContext, rect);
        EXPECT_EQ(CountOf(record.calls, "Lock"), 0);
        EXPECT_EQ(CountOf(record.calls, "IntersectRect"), 4);
        EXPECT_EQ(record.calls.back(), "RestoreDC -1");
    }
}

TEST_F(StretchToLogRect, OnlyAnErrorOfTheClipBoxEndsIt) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_1, 6, 4);
    RECT rect{0, 0, 100, 70};
    record.clipKind = 0;
    bitmap.StretchToLogRect(kContext, rect);
    EXPECT_EQ(record.calls, Calls{"GetClipBox"});
    record.clipKind = NULLREGION;
    bitmap.StretchToLogRect(kContext, rect);
    EXPECT_EQ(CountOf(record.calls, "StretchDIBits"), 4);
}

TEST_F(StretchToLogRect, ThatCannotSaveTheContextLeavesItAlone) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_1, 6, 4);
    record.saves = false;
    RECT rect{0, 0, 100, 70};
    bitmap.StretchToLogRect(kContext, rect);
    EXPECT_EQ(record.calls.back(), "SaveDC");
}

TEST_F(StretchToLogRect, RestoresTheContextWhenALockRaises) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_1, 6, 4);
    bitmap.failingRow = 1;
    bitmap.failingCol = 0;
    RECT rect{0, 0, 100, 70};
    EXPECT_THROW(bitmap.StretchToLogRect(kContext, rect), std::runtime_error);
    EXPECT_EQ(record.calls.back(), "RestoreDC -1");
    EXPECT_EQ(CountOf(record.calls, "StretchDIBits"), 2);
    EXPECT_EQ(record.locked, 0);
}

TEST_F(StretchToLogRect, RectanglesAtTheEndsOfAllNumbersAreHarmless) {
    NotingBitmap bitmap(kWidth, kHeight, shr::GRAYSCALE_1, 6, 4);
    record.clip = {kMin, kMin, kMax, kMax};
    RECT rect{kMin, kMin, kMax, kMax};
    bitmap.StretchToLogRect(kContext, rect);
    EXPECT_EQ(CountOf(record.calls, "StretchDIBits"), 4);
    EXPECT_EQ(record.calls.back(), "RestoreDC -1");
}

TEST(ScopedDevice, GivesTheSystemsDeviceBack) {
    Recorder record;
    recorder = &record;
    {
        const zbm::ScopedDevice device(kRecording);
        EXPECT_EQ(&zbm::ActiveDevice(), &kRecording);
    }
    EXPECT_NE(&zbm::ActiveDevice(), &kRecording);
    RECT box;
    EXPECT_EQ(zbm::ActiveDevice().getClipBox(nullptr, &box), 0);
    EXPECT_TRUE(record.calls.empty());
    recorder = nullptr;
}

}  // namespace
