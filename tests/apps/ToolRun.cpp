#include "apps/ToolRun.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>

#include "commands/CommandLine.h"
#include "shr/Archive.h"
#include "zbm/SerializeIO.h"

namespace test {

namespace {

/// A tile's pixel in memory: its tile, its place there and its bits.
struct Spot {
    zbm::ZScanRect& tile;
    int x, y, bits;

    static Spot Of(const zbm::ZBitmap& bitmap, int x, int y) {
        const int column = x / bitmap.GetScanRectWidth(), row = y / bitmap.GetScanRectHeight();
        const RECT box = bitmap.GetScanRectBBox(row, column);
        zbm::ZScanRect& tile = bitmap.LockScanRect(row, column);
        bitmap.UnlockScanRect(row, column);  // in memory it stays where it is
        return {tile, x - static_cast<int>(box.left), y - static_cast<int>(box.top),
                shr::ColorFmtToBPP[bitmap.GetColorFormat()]};
    }
    std::uint8_t* Byte() const { return tile.GetRowPtr(y) + x * bits / 8; }
    int Shift() const { return 8 - bits - x * bits % 8; }
    std::uint8_t* MaskByte() const {
        return tile.GetAlphaRowPtr(y) == nullptr ? nullptr : tile.GetAlphaRowPtr(y) + x / 8;
    }
    int MaskBit() const { return 0x80 >> x % 8; }
};

void Serialize(zbm::ZBasicMemBitmap& bitmap, const std::string& name, shr::FileArchive::Direction direction) {
    const bool storing = direction == shr::FileArchive::Direction::storing;
    shr::CBufferedFile file;
    file.Open(shr::ZString::FromUtf8(name), storing ? shr::FileAccess::write : shr::FileAccess::read,
              storing ? shr::FileMode::create : shr::FileMode::openExisting, shr::FileSharing::read);
    shr::FileArchive archive(file, direction);
    zbm::SerializeIO io(archive, false);
    if (!bitmap.Serialize(io, nullptr, nullptr)) throw std::runtime_error("cancelled");
    if (archive.RemainingBytes() != 0) throw std::runtime_error("the file holds more than the archive");
    file.Close();
}

}  // namespace

std::vector<std::string> ToolResult::ErrorLines() const {
    std::vector<std::string> lines;
    std::istringstream stream(errors);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

ToolResult RunTool(const std::vector<std::string>& arguments, int columns) {
    static int width;
    width = columns;
    std::ostringstream out, errors;
    ToolResult result;
    result.code = tool::RunTool(arguments, out, errors, [] { return width; });
    result.out = out.str();
    result.errors = errors.str();
    return result;
}

void ExpectOneErrorAbout(const ToolResult& result, const std::string& file) {
    EXPECT_EQ(result.code, 1) << result.errors;
    const std::string start = "zbm: " + file + ": ";
    EXPECT_EQ(result.errors.compare(0, start.size(), start), 0) << result.errors;
    EXPECT_GT(result.errors.size(), start.size() + 1) << result.errors;
    EXPECT_EQ(result.ErrorLines().size(), 1u) << result.errors;
    EXPECT_TRUE(result.errors.empty() || result.errors.back() == '\n');
    EXPECT_EQ(result.out, "");
}

BitmapPtr LoadArchive(const std::string& name) {
    auto bitmap = std::make_unique<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
    Serialize(*bitmap, name, shr::FileArchive::Direction::loading);
    return bitmap;
}

void StoreArchive(zbm::ZBasicMemBitmap& bitmap, const std::string& name) {
    Serialize(bitmap, name, shr::FileArchive::Direction::storing);
}

Pixel PixelAt(const zbm::ZBitmap& bitmap, int x, int y) {
    const Spot spot = Spot::Of(bitmap, x, y);
    Pixel pixel;
    if (spot.bits < 8) {
        pixel.value = *spot.Byte() >> spot.Shift() & ((1u << spot.bits) - 1);
    } else {
        for (int i = spot.bits / 8; i-- > 0;) pixel.value = pixel.value << 8 | spot.Byte()[i];
    }
    if (spot.MaskByte() != nullptr) pixel.opaque = (*spot.MaskByte() & spot.MaskBit()) != 0;
    return pixel;
}

void SetPixel(zbm::ZBitmap& bitmap, int x, int y, Pixel pixel) {
    const Spot spot = Spot::Of(bitmap, x, y);
    if (spot.bits < 8) {
        const unsigned mask = ((1u << spot.bits) - 1) << spot.Shift();
        *spot.Byte() = static_cast<std::uint8_t>((*spot.Byte() & ~mask) | pixel.value << spot.Shift());
    } else {
        for (int i = 0; i < spot.bits / 8; ++i) spot.Byte()[i] = static_cast<std::uint8_t>(pixel.value >> 8 * i);
    }
    if (std::uint8_t* mask = spot.MaskByte()) {
        *mask = static_cast<std::uint8_t>(pixel.opaque ? *mask | spot.MaskBit() : *mask & ~spot.MaskBit());
    }
}

}  // namespace test
