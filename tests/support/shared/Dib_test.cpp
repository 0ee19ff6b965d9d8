#include "shr/Dib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

#include "FileTesting.h"
#include "LogCapture.h"
#include "shr/Path.h"

namespace shr {
namespace {

using namespace test;
using testkit::ScratchFolder;

BITMAPINFOHEADER Header(LONG width, LONG height, WORD bitCount, DWORD colors = 0, DWORD compression = BI_RGB) {
    BITMAPINFOHEADER header{};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = bitCount;
    header.biCompression = compression;
    header.biClrUsed = colors;
    return header;
}

std::size_t BitsBytes(const CDib& dib) {
    return static_cast<std::size_t>(dib.GetStride()) * static_cast<std::size_t>(dib.GetHeight());
}

Bytes BitsOf(const CDib& dib) {
    const auto* const bits = static_cast<const std::uint8_t*>(dib.GetBits());
    return Bytes(bits, bits + BitsBytes(dib));
}

bool IsEmptyInEveryRespect(CDib& dib) {
    return dib.IsEmpty() && dib.GetDib() == nullptr && dib.GetBits() == nullptr && dib.GetWritableBits() == nullptr &&
           dib.GetColors() == nullptr && dib.GetNumColors() == 0 && dib.GetWidth() == 0 && dib.GetHeight() == 0 &&
           dib.GetBitCount() == 0 && dib.GetStride() == 0 && dib.GetPixelOffset(1, 1) == 0;
}

// --- in memory -----------------------------------------------------------------------------------------------------

TEST(Dib, HoldsNothingAtFirstAndAfterDestroy) {
    CDib dib;
    EXPECT_TRUE(IsEmptyInEveryRespect(dib));
    dib.Create(3, 2, 24, 0, nullptr, nullptr, 0, 0);
    EXPECT_FALSE(dib.IsEmpty());
    dib.Destroy();
    EXPECT_TRUE(IsEmptyInEveryRespect(dib));
}

TEST(Dib, PacksHeaderTableAndBits) {
    struct Case {
        int bitCount;
        unsigned colors, colorsHeld;
        int stride;
    };
    for (const Case& c :
         {Case{1, 0, 2, 8}, Case{1, 1, 1, 8}, Case{4, 0, 16, 20}, Case{4, 7, 7, 20}, Case{8, 0, 256, 36},
          Case{8, 255, 255, 36}, Case{16, 0, 0, 68}, Case{24, 0, 0, 100}, Case{24, 3, 3, 100}, Case{32, 0, 0, 132}}) {
        CDib dib;
        dib.Create(33, 5, c.bitCount, c.colors, nullptr, nullptr, 2835, 0);
        EXPECT_EQ(dib.GetWidth(), 33);
        EXPECT_EQ(dib.GetHeight(), 5);
        EXPECT_EQ(dib.GetBitCount(), c.bitCount);
        EXPECT_EQ(dib.GetStride(), c.stride);
        EXPECT_EQ(dib.GetNumColors(), c.colorsHeld);
        EXPECT_EQ(dib.GetDib()->bmiHeader.biSize, 40u);
        EXPECT_EQ(dib.GetDib()->bmiHeader.biPlanes, 1u);
        EXPECT_EQ(dib.GetDib()->bmiHeader.biCompression, BI_RGB);
        EXPECT_EQ(dib.GetDib()->bmiHeader.biSizeImage, static_cast<DWORD>(5 * c.stride));
        const auto* const block = reinterpret_cast<const std::uint8_t*>(dib.GetDib());
        EXPECT_EQ(static_cast<const std::uint8_t*>(dib.GetBits()), block + 40 + 4 * c.colorsHeld);
        EXPECT_EQ(dib.GetBits(), dib.GetWritableBits());
        const void* const table = c.colorsHeld == 0 ? nullptr : block + 40;
        EXPECT_EQ(static_cast<const void*>(dib.GetColors()), table);
    }
}

TEST(Dib, IsBlackAndZeroWhereNothingIsGiven) {
    CDib dib;
    dib.Create(Header(9, 3, 8, 5), nullptr, nullptr);
    EXPECT_EQ(BitsOf(dib), Bytes(36));
    for (unsigned i = 0; i < 5; ++i) {
        const RGBQUAD color = dib.GetColors()[i];
        EXPECT_EQ(color.rgbBlue | color.rgbGreen | color.rgbRed | color.rgbReserved, 0);
    }
}

TEST(Dib, TakesColoursAndBits) {
    const RGBQUAD colors[] = {{1, 2, 3, 0}, {4, 5, 6, 0}, {7, 8, 9, 0}};
    const Bytes bits = {0, 1, 2, 0, 2, 1, 0, 0};
    CDib dib;
    dib.Create(Header(4, 2, 8, 3), colors, bits.data());
    EXPECT_EQ(std::memcmp(dib.GetColors(), colors, sizeof(colors)), 0);
    EXPECT_EQ(BitsOf(dib), bits);
}

TEST(Dib, KeepsMasksInFrontOfTheBits) {
    const DWORD masks[] = {0xF800, 0x07E0, 0x001F};
    CDib dib;
    BITMAPINFOHEADER header = Header(2, 1, 16, 99, BI_BITFIELDS);  // colours beside the masks are no use
    dib.Create(header, reinterpret_cast<const RGBQUAD*>(masks), "abcd");
    EXPECT_EQ(std::memcmp(dib.GetColors(), masks, sizeof(masks)), 0);
    EXPECT_EQ(dib.GetNumColors(), 0u);
    EXPECT_EQ(dib.GetDib()->bmiHeader.biClrUsed, 0u);
    EXPECT_EQ(static_cast<const void*>(reinterpret_cast<const std::uint8_t*>(dib.GetDib()) + 52), dib.GetBits());
    EXPECT_EQ(BitsOf(dib), BytesOf("abcd"));
    EXPECT_THROW(dib.Create(header, nullptr, nullptr), std::invalid_argument);
}

TEST(Dib, WritesAnUnknownResolutionAsZero) {
    CDib dib;
    dib.Create(1, 1, 24, 0, nullptr, nullptr, -1, 2835);
    EXPECT_EQ(dib.GetDib()->bmiHeader.biXPelsPerMeter, 0);
    EXPECT_EQ(dib.GetDib()->bmiHeader.biYPelsPerMeter, 2835);
    dib.Create(1, 1, 24, 0, nullptr, nullptr, 3, -5);
    EXPECT_EQ(dib.GetDib()->bmiHeader.biXPelsPerMeter, 3);
    EXPECT_EQ(dib.GetDib()->bmiHeader.biYPelsPerMeter, 0);
}

TEST(Dib, CountsRowsFromTheBottom) {
    CDib dib;
    dib.Create(10, 4, 24, 0, nullptr, nullptr, 0, 0);
    EXPECT_EQ(dib.GetPixelOffset(0, 0), 0);
    EXPECT_EQ(dib.GetPixelOffset(3, 0), 9);
    EXPECT_EQ(dib.GetPixelOffset(0, 1), 32);
    EXPECT_EQ(dib.GetPixelOffset(9, 3), 3 * 32 + 27);
    dib.Create(10, 4, 4, 0, nullptr, nullptr, 0, 0);
    EXPECT_EQ(dib.GetPixelOffset(5, 2), 2 * 8 + 2);
    dib.Create(10, 4, 1, 0, nullptr, nullptr, 0, 0);
    EXPECT_EQ(dib.GetPixelOffset(9, 1), 4 + 1);
}

TEST(Dib, RefusesWhatItCannotHoldAndKeepsWhatItHeld) {
    const DWORD masks[3] = {};
    CDib dib;
    dib.Create(3, 2, 24, 0, nullptr, "abcdefghi...ABCDEFGHI...", 0, 0);
    const Bytes before = BitsOf(dib);
    const LONG least = std::numeric_limits<LONG>::min(), most = std::numeric_limits<LONG>::max();
    for (const BITMAPINFOHEADER& header : {Header(0, 1, 24),
                                           Header(1, 0, 24),
                                           Header(-1, 1, 24),
                                           Header(1, -1, 24),
                                           Header(least, 1, 8),
                                           Header(1, least, 8),
                                           Header(most, most, 32),
                                           Header(most, 1, 32),
                                           Header(1, most, 8),
                                           Header(1, (most - 40) / 4 + 1, 24),
                                           Header(1, 1, 0),
                                           Header(1, 1, 2),
                                           Header(1, 1, 15),
                                           Header(1, 1, 48),
                                           Header(1, 1, 1, 3),
                                           Header(1, 1, 4, 17),
                                           Header(1, 1, 8, 257),
                                           Header(1, 1, 24, 0xFFFFFFFF),
                                           Header(1, 1, 24, 0x1FFFFFF6),
                                           Header(1, 1, 8, 0, BI_RLE8),
                                           Header(1, 1, 4, 0, BI_RLE4),
                                           Header(1, 1, 24, 0, BI_JPEG),
                                           Header(1, 1, 32, 0, BI_PNG),
                                           Header(1, 1, 24, 0, BI_BITFIELDS),
                                           Header(1, 1, 8, 0, BI_BITFIELDS),
                                           Header(1, 1, 32, 0, 6)}) {
        EXPECT_THROW(dib.Create(header, reinterpret_cast<const RGBQUAD*>(masks), nullptr), std::invalid_argument)
            << header.biWidth << " x " << header.biHeight << " x " << header.biBitCount;
    }
    EXPECT_THROW(dib.Create(1, 1, 65536 + 24, 0, nullptr, nullptr, 0, 0), std::invalid_argument);
    EXPECT_THROW(dib.Create(1, 1, -8, 0, nullptr, nullptr, 0, 0), std::invalid_argument);
    EXPECT_EQ(BitsOf(dib), before);
}

TEST(Dib, KeepsWhatItHeldWithoutMemory) {
    CDib dib;
    dib.Create(2, 1, 32, 0, nullptr, "abcdefgh", 0, 0);
    ByteBuffer::SetFaultHook([] { return true; });
    EXPECT_THROW(dib.Create(5, 5, 8, 0, nullptr, nullptr, 0, 0), std::bad_alloc);
    EXPECT_THROW(dib.Create(1, 1, 32, 0, nullptr, "1234", 0, 0), std::bad_alloc);
    EXPECT_THROW(CDib{dib}, std::bad_alloc);
    CDib other;
    EXPECT_THROW(other = dib, std::bad_alloc);
    ByteBuffer::SetFaultHook(nullptr);
    EXPECT_EQ(BitsOf(dib), BytesOf("abcdefgh"));
}

TEST(Dib, CanBeMadeFromItsOwnParts) {
    const RGBQUAD colors[] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    CDib dib;
    dib.Create(Header(4, 1, 8, 2), colors, "abcd");
    const BITMAPINFOHEADER header = dib.GetDib()->bmiHeader;
    dib.Create(header, dib.GetColors(), dib.GetBits());
    EXPECT_EQ(BitsOf(dib), BytesOf("abcd"));
    EXPECT_EQ(std::memcmp(dib.GetColors(), colors, sizeof(colors)), 0);
}

TEST(Dib, ForOverwritingUsesMemoryOfItsSizeAgain) {
    const RGBQUAD colors[2] = {{1, 2, 3, 0}, {4, 5, 6, 0}};
    CDib dib;
    BITMAPINFOHEADER header{};
    header.biWidth = 9;
    header.biHeight = 4;
    header.biBitCount = 8;
    header.biClrUsed = 2;
    dib.CreateForOverwrite(header, colors);
    const auto* const first = dib.GetDib();
    dib.GetWritableBits()[0] = 77;
    header.biXPelsPerMeter = 5;
    dib.CreateForOverwrite(header, nullptr);
    EXPECT_EQ(dib.GetDib(), first);
    EXPECT_EQ(dib.GetDib()->bmiHeader.biXPelsPerMeter, 5);
    EXPECT_EQ(dib.GetColors()[1].rgbRed, 0);
    header.biWidth = 0;
    EXPECT_THROW(dib.CreateForOverwrite(header, colors), std::invalid_argument);
    EXPECT_EQ(dib.GetWidth(), 9);
    header.biWidth = 900;
    dib.CreateForOverwrite(header, colors);
    EXPECT_EQ(dib.GetWidth(), 900);
    EXPECT_EQ(dib.GetColors()[1].rgbRed, 6);
}

TEST(Dib, IsCopiedWholeAndMovedAway) {
    CDib first;
    first.Create(2, 1, 32, 0, nullptr, "abcdefgh", 0, 0);
    CDib copy(first);
    copy.GetWritableBits()[0] = 'X';
    EXPECT_EQ(BitsOf(first), BytesOf("abcdefgh"));
    first = copy;
    EXPECT_EQ(BitsOf(first), BytesOf("Xbcdefgh"));
    CDib& itself = first;
    first = itself;
    EXPECT_EQ(BitsOf(first), BytesOf("Xbcdefgh"));
    CDib moved(std::move(first));
    EXPECT_TRUE(IsEmptyInEveryRespect(first));  // NOLINT(bugprone-use-after-move): what is left is stated
    EXPECT_EQ(BitsOf(moved), BytesOf("Xbcdefgh"));
    copy = std::move(moved);
    EXPECT_EQ(BitsOf(copy), BytesOf("Xbcdefgh"));
    copy = CDib();
    EXPECT_TRUE(IsEmptyInEveryRespect(copy));
}

// --- files ---------------------------------------------------------------------------------------------------------

Bytes Hex(const std::string& digits) {
    Bytes bytes;
    std::string pair;
    for (const char c : digits) {
        if (c == ' ') continue;
        pair += c;
        if (pair.size() < 2) continue;
        bytes.push_back(static_cast<std::uint8_t>(std::stoi(pair, nullptr, 16)));
        pair.clear();
    }
    return bytes;
}

Bytes operator+(Bytes left, const Bytes& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

/// A picture of 3 x 2 pixels as a .bmp file, written by hand, and what is to be read from it.
struct BmpCase {
    const char* name;
    Bytes file;
    int bitCount;
    unsigned colors;
    Bytes table, bits;
    bool isAsWeWriteIt;  // one header of 40 bytes, bottom-up, nothing in between
};

std::vector<BmpCase> BmpCases() {
    const Bytes table1 = Hex("00 00 00 00  FF FF FF 00");
    const Bytes bits1 = Hex("A0 00 00 00  40 00 00 00");
    const Bytes table4 = Hex("00 00 00 00  10 20 30 00  FF FF FF 00");
    const Bytes bits4 = Hex("01 20 00 00  21 00 00 00");
    const Bytes table8 = Hex("01 02 03 00  04 05 06 00");
    const Bytes bits8 = Hex("00 01 00 00  01 01 00 00");
    const Bytes bits16 = Hex("00 7C E0 03 1F 00 00 00  FF 7F 00 00 34 12 00 00");
    const Bytes masks16 = Hex("00 F8 00 00  E0 07 00 00  1F 00 00 00");
    const Bytes lower24 = Hex("00 00 FF  00 FF 00  FF 00 00  00 00 00");
    const Bytes upper24 = Hex("01 02 03  04 05 06  07 08 09  00 00 00");
    const Bytes bits32 = Hex("01 02 03 00 04 05 06 00 07 08 09 00  11 12 13 80 14 15 16 80 17 18 19 80");
    const Bytes masks32 = Hex("00 00 FF 00  00 FF 00 00  FF 00 00 00");
    // Of each: type, size, reserved, position of the bits; header size, width, height; planes and depth, compression,
    // bytes of the bits; both resolutions; colours used and important.
    return {
        {"Depth1",
         Hex("42 4D 46 00 00 00 00 00 00 00 3E 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 01 00 00 00 00 00 08 00 00 00  13 0B 00 00 13 0B 00 00  00 00 00 00 00 00 00 00") +
             table1 + bits1,
         1, 2, table1, bits1, true},
        {"Depth4With3Colours",
         Hex("42 4D 4A 00 00 00 00 00 00 00 42 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 04 00 00 00 00 00 08 00 00 00  00 00 00 00 00 00 00 00  03 00 00 00 02 00 00 00") +
             table4 + bits4,
         4, 3, table4, bits4, true},
        {"Depth8With2Colours",
         Hex("42 4D 46 00 00 00 00 00 00 00 3E 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 08 00 00 00 00 00 08 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00") +
             table8 + bits8,
         8, 2, table8, bits8, true},
        {"Depth8WithAGapBeforeTheBits",
         Hex("42 4D 49 00 00 00 00 00 00 00 41 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 08 00 00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00") +
             table8 + Hex("EE EE EE") + bits8,
         8, 2, table8, bits8, false},
        {"Depth16",
         Hex("42 4D 46 00 00 00 00 00 00 00 36 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 10 00 00 00 00 00 10 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             bits16,
         16,
         0,
         {},
         bits16,
         true},
        {"Depth16WithMasks",
         Hex("42 4D 52 00 00 00 00 00 00 00 42 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 10 00 03 00 00 00 10 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             masks16 + bits16,
         16, 0, masks16, bits16, true},
        {"Depth24",
         Hex("42 4D 4E 00 00 00 00 00 00 00 36 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 18 00 00 00 00 00 18 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             lower24 + upper24,
         24,
         0,
         {},
         lower24 + upper24,
         true},
        {"Depth24TopDown",
         Hex("42 4D 4E 00 00 00 00 00 00 00 36 00 00 00  28 00 00 00 03 00 00 00 FE FF FF FF"
             "01 00 18 00 00 00 00 00 18 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             upper24 + lower24,
         24,
         0,
         {},
         lower24 + upper24,
         false},
        {"Depth24Version4",
         Hex("42 4D 92 00 00 00 00 00 00 00 7A 00 00 00  6C 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 18 00 00 00 00 00 18 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             Bytes(68, 0xCC) + lower24 + upper24,
         24,
         0,
         {},
         lower24 + upper24,
         false},
        {"Depth8Version5",
         Hex("42 4D 9A 00 00 00 00 00 00 00 92 00 00 00  7C 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 08 00 00 00 00 00 08 00 00 00  00 00 00 00 00 00 00 00  02 00 00 00 00 00 00 00") +
             Bytes(84, 0xCC) + table8 + bits8,
         8, 2, table8, bits8, false},
        {"Depth32",
         Hex("42 4D 4E 00 00 00 00 00 00 00 36 00 00 00  28 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 20 00 00 00 00 00 18 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             bits32,
         32,
         0,
         {},
         bits32,
         true},
        {"Depth32WithMasksVersion5",
         Hex("42 4D A2 00 00 00 00 00 00 00 8A 00 00 00  7C 00 00 00 03 00 00 00 02 00 00 00"
             "01 00 20 00 03 00 00 00 18 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00") +
             masks32 + Hex("00 00 00 FF") + Bytes(68, 0xCC) + bits32,
         32, 0, masks32, bits32, false},
    };
}

class DibFile : public testing::TestWithParam<BmpCase> {};
INSTANTIATE_TEST_SUITE_P(Kinds, DibFile, testing::ValuesIn(BmpCases()),
                         [](const auto& bmpCase) { return std::string(bmpCase.param.name); });

TEST_P(DibFile, IsReadPixelForPixel) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f.bmp"), GetParam().file);
    CDib dib;
    dib.Load(folder.File("f.bmp"));
    EXPECT_EQ(dib.GetWidth(), 3);
    EXPECT_EQ(dib.GetHeight(), 2);
    EXPECT_EQ(dib.GetBitCount(), GetParam().bitCount);
    EXPECT_EQ(dib.GetNumColors(), GetParam().colors);
    EXPECT_EQ(BitsOf(dib), GetParam().bits);
    const auto* const table = reinterpret_cast<const std::uint8_t*>(dib.GetColors());
    EXPECT_EQ(table == nullptr ? Bytes() : Bytes(table, table + GetParam().table.size()), GetParam().table);
}

TEST_P(DibFile, IsWrittenByteForByte) {
    const ScratchFolder folder;
    WriteWhole(folder.File("f.bmp"), GetParam().file);
    CDib dib;
    dib.Load(folder.File("f.bmp"));
    dib.Save(folder.File("g.bmp"));
    if (GetParam().isAsWeWriteIt) { EXPECT_EQ(ReadWhole(folder.File("g.bmp")), GetParam().file); }
    CDib again;
    again.Load(folder.File("g.bmp"));
    EXPECT_EQ(BitsOf(again), GetParam().bits);
    EXPECT_EQ(again.GetDib()->bmiHeader.biCompression, dib.GetDib()->bmiHeader.biCompression);
    EXPECT_EQ(Entries(folder.File("")).size(), 2u);
}

TEST_P(DibFile, IsRefusedWhenItIsCutShort) {
    const ScratchFolder folder;
    const ZString name = folder.File("f.bmp");
    CDib dib;
    dib.Create(1, 1, 32, 0, nullptr, "kept", 0, 0);
    for (std::size_t length = 0; length < GetParam().file.size(); ++length) {
        WriteWhole(name, Bytes(GetParam().file.begin(), GetParam().file.begin() + static_cast<std::ptrdiff_t>(length)));
        EXPECT_TRUE(Tells(ErrorOf([&] { dib.Load(name); }), L"DibFile", name)) << length;
        EXPECT_EQ(BitsOf(dib), BytesOf("kept"));
    }
}

/// While it lives, a byte of a file is another one.
class OneByteChanged {
public:
    OneByteChanged(const ZString& name, std::size_t position, std::uint8_t changed, std::uint8_t original)
        : path(SystemPath(name)), place(static_cast<std::streamoff>(position)), before(original) {
        Put(changed);
    }
    ~OneByteChanged() { Put(before); }
    OneByteChanged(const OneByteChanged&) = delete;
    OneByteChanged& operator=(const OneByteChanged&) = delete;

private:
    void Put(std::uint8_t byte) {
        std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
        file.seekp(place).put(static_cast<char>(byte));
        EXPECT_TRUE(file.good());
    }

    std::filesystem::path path;
    std::streamoff place;
    std::uint8_t before;
};

TEST_P(DibFile, IsAPictureOrAnErrorWithAnyBitFlipped) {
    const ScratchFolder folder;
    const ZString name = folder.File("f.bmp");
    WriteWhole(name, GetParam().file);
    CDib dib;
    const std::size_t headerBits = 8 * (GetParam().file.size() - GetParam().bits.size());
    for (std::size_t bit = 0; bit < headerBits; ++bit) {
        const std::uint8_t byte = GetParam().file[bit / 8];
        const OneByteChanged damage(name, bit / 8, static_cast<std::uint8_t>(byte ^ (1 << bit % 8)), byte);
        dib.Create(1, 1, 32, 0, nullptr, "kept", 0, 0);
        if (const auto error = ErrorOf([&] { dib.Load(name); })) {
            EXPECT_TRUE(Tells(error, L"DibFile", name)) << bit;
            EXPECT_EQ(BitsOf(dib), BytesOf("kept")) << bit;
        } else {
            EXPECT_LE(BitsBytes(dib), GetParam().file.size()) << bit;
        }
    }
}

TEST(DibFiles, IsRefusedInFormsThatWeDoNotHold) {
    const ScratchFolder folder;
    const ZString name = folder.File("f.bmp");
    const Bytes good = BmpCases()[2].file;  // depth 8, two colours
    struct Change {
        std::size_t position;
        Bytes bytes;
    };
    for (const Change& change :
         {Change{0, Hex("42 41")},        Change{0, Hex("4D 42")},        Change{10, Hex("3D 00 00 00")},
          Change{10, Hex("FF FF FF FF")}, Change{14, Hex("0C 00 00 00")}, Change{14, Hex("40 00 00 00")},
          Change{14, Hex("FF FF FF FF")}, Change{18, Hex("00 00 00 00")}, Change{18, Hex("FD FF FF FF")},
          Change{18, Hex("FF FF FF 7F")}, Change{22, Hex("00 00 00 00")}, Change{22, Hex("00 00 00 80")},
          Change{22, Hex("FF FF FF 7F")}, Change{26, Hex("00 00")},       Change{28, Hex("02 00")},
          Change{28, Hex("00 00")},       Change{30, Hex("01 00 00 00")}, Change{30, Hex("02 00 00 00")},
          Change{30, Hex("03 00 00 00")}, Change{30, Hex("06 00 00 00")}, Change{46, Hex("01 01 00 00")},
          Change{46, Hex("FF FF FF FF")}, Change{46, Hex("00 00 00 00")}}) {
        Bytes damaged = good;
        std::copy(change.bytes.begin(), change.bytes.end(),
                  damaged.begin() + static_cast<std::ptrdiff_t>(change.position));
        WriteWhole(name, damaged);
        CDib dib;
        EXPECT_TRUE(Tells(ErrorOf([&] { dib.Load(name); }), L"DibFile", name)) << change.position;
        EXPECT_TRUE(dib.IsEmpty());
    }
}

TEST(DibFiles, MayTellTheNumberOfColoursOfAFullTable) {
    const ScratchFolder folder;
    CDib full, loaded;
    full.Create(9, 2, 8, 256, nullptr, nullptr, 0, 0);
    full.Save(folder.File("f.bmp"));
    Bytes file = ReadWhole(folder.File("f.bmp"));
    file[46] = 0, file[47] = 1;
    WriteWhole(folder.File("f.bmp"), file);
    loaded.Load(folder.File("f.bmp"));
    EXPECT_EQ(loaded.GetNumColors(), 256u);
    EXPECT_EQ(BitsOf(loaded), BitsOf(full));
}

TEST(DibFiles, IsNamedWhenItIsMissingOrCannotBeMade) {
    const ScratchFolder folder;
    CDib dib;
    EXPECT_TRUE(Tells(ErrorOf([&] { dib.Load(folder.File("no.bmp")); }), L"BufferedFile", folder.File("no.bmp")));
    EXPECT_THROW(dib.Save(folder.File("f.bmp")), InternalError);
    dib.Create(1, 1, 32, 0, nullptr, "abcd", 0, 0);
    const ZString inNoFolder = folder.File("none") + L"/f.bmp";
    EXPECT_TRUE(Tells(ErrorOf([&] { dib.Save(inNoFolder); }), L"DibFile", inNoFolder));
    const ZString aFolder = folder.File("sub");
    std::filesystem::create_directory(SystemPath(aFolder));
    EXPECT_TRUE(Tells(ErrorOf([&] { dib.Save(aFolder); }), L"DibFile", aFolder));
    EXPECT_EQ(Entries(folder.File("")).size(), 1u);
}

TEST(DibFiles, StaysAsItWasWhicheverStepOfSavingFails) {
    CDib dib;
    dib.Create(2, 1, 32, 0, nullptr, "abcdefgh", 0, 0);
    int failures = 0;
    for (int n = 1;; ++n) {
        const ScratchFolder folder;
        const ZString name = folder.File("f.bmp");
        WriteWhole(name, BytesOf("old"));
        const FailingCall failing(n);
        const auto error = ErrorOf([&] { dib.Save(name); });
        if (!FailingCall::HasFailed()) {
            EXPECT_FALSE(error);
            EXPECT_EQ(ReadWhole(name).size(), 62u);
            break;
        }
        ++failures;
        EXPECT_TRUE(Tells(error, L"DibFile", name, FormatSystemErrorMsg(kFaultCode))) << n;
        EXPECT_EQ(Entries(folder.File("")).size(), 1u) << n;
        // Once the new file has the name, its own place on the device is all that can still fail.
        const auto& passed = FailingCall::Passed();
        const bool isReplaced = std::find(passed.begin(), passed.end(), FileCall::rename) != passed.end();
        EXPECT_EQ(ReadWhole(name).size(), isReplaced ? 62u : 3u) << n;
    }
    EXPECT_GE(failures, 6);
}

TEST(DibFiles, IsOnTheDeviceBeforeItTakesTheOldFilesPlaceAndItsNameAfterwards) {
    const ScratchFolder folder;
    CDib dib;
    dib.Create(2, 1, 32, 0, nullptr, "abcdefgh", 0, 0);
    std::vector<FileCall> calls;
    {
        const FailingCall counting(0);
        dib.Save(folder.File("f.bmp"));
        calls = FailingCall::Passed();
    }
    const auto write = std::find(calls.rbegin(), calls.rend(), FileCall::write);
    std::vector<FileCall> expected = {FileCall::write, FileCall::sync, FileCall::close, FileCall::rename};
    if (!kOnWindows) expected.push_back(FileCall::sync);  // there the renaming waits for the device
    EXPECT_EQ(std::vector<FileCall>(write.base() - 1, calls.end()), expected);
}

TEST(DibFiles, StaysAsItWasOnAFullDisk) {
    const ScratchFolder folder;
    const ZString name = folder.File("f.bmp");
    WriteWhole(name, BytesOf("old"));
    CDib dib;
    dib.Create(2, 1, 32, 0, nullptr, "abcdefgh", 0, 0);
    const Transfers transfers([](FileCall) { return FileTransfer::diskFull; });
    EXPECT_TRUE(Tells(ErrorOf([&] { dib.Save(name); }), L"DibFile", name, FormatSystemErrorMsg(kDiskFullCode)));
    EXPECT_EQ(ReadWhole(name), BytesOf("old"));
    EXPECT_EQ(Entries(folder.File("")).size(), 1u);
}

TEST(DibFiles, KeepsTheObjectWhicheverStepOfLoadingFails) {
    const LogCapture log;
    for (const BmpCase& bmp : BmpCases()) {
        const ScratchFolder folder;
        WriteWhole(folder.File("f.bmp"), bmp.file);
        CDib dib;
        for (int n = 1;; ++n) {
            dib.Create(1, 1, 32, 0, nullptr, "kept", 0, 0);
            const FailingCall failing(n);
            const auto error = ErrorOf([&] { dib.Load(folder.File("f.bmp")); });
            // Closing a file that was only read has nothing to lose, and the picture is there.
            if (!error) break;
            EXPECT_TRUE(Tells(error, L"BufferedFile", folder.File("f.bmp"), FormatSystemErrorMsg(kFaultCode))) << n;
            EXPECT_EQ(BitsOf(dib), BytesOf("kept")) << n;
        }
        EXPECT_EQ(BitsOf(dib), bmp.bits);
        ByteBuffer::SetFaultHook([] { return true; });
        EXPECT_THROW(dib.Load(folder.File("f.bmp")), std::bad_alloc);
        ByteBuffer::SetFaultHook(nullptr);
        EXPECT_EQ(BitsOf(dib), bmp.bits);
    }
}

TEST(DibFiles, TakesNamesOfAnyCharacters) {
    const ScratchFolder folder;
    const ZString name = folder.File("") + ZString("\xE6\x96\x87 \xF0\x9F\x98\x80.bmp");
    CDib dib, loaded;
    dib.Create(2, 1, 32, 0, nullptr, "abcdefgh", 0, 0);
    dib.Save(name);
    loaded.Load(name);
    EXPECT_EQ(BitsOf(loaded), BytesOf("abcdefgh"));
}

}  // namespace
}  // namespace shr
