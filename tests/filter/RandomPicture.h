#pragma once
// Bitmaps of every kind, size and layout, thrown with dice that fall alike on every system.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>

#include "support_code/Pixels.h"
#include "zbm/ZMemBitmap.h"

namespace testkit {

class Dice {
public:
    explicit Dice(unsigned seed) : engine(seed) {}
    /// From 0 to below `count`. (The standard's distributions differ between systems.)
    int Below(int count) { return static_cast<int>(engine() % static_cast<unsigned>(count)); }
    int Between(int first, int last) { return first + Below(last - first + 1); }
    bool OneIn(int count) { return Below(count) == 0; }
    std::uint32_t Bits() { return static_cast<std::uint32_t>(engine()); }

private:
    std::mt19937 engine;
};

/// A bitmap of a user's own class.
class DerivedBitmap : public zbm::ZBasicMemBitmap {
public:
    using ZBasicMemBitmap::ZBasicMemBitmap;
};

enum class BitmapClass { basic, withReductions, derived };

struct Layout {
    int width, height, tileWidth, tileHeight;
    ColorFormat format;
    BitmapClass type;

    std::string Describe() const {
        constexpr const char* kClasses[] = {"ZBasicMemBitmap", "ZMemBitmap", "a class of its own"};
        return std::to_string(width) + " x " + std::to_string(height) + ", tiles of " + std::to_string(tileWidth) +
               " x " + std::to_string(tileHeight) + ", " + FormatName(format) + ", " + kClasses[static_cast<int>(type)];
    }
};

inline ColorFormat RandomFormat(Dice& dice) {
    constexpr ColorFormat kTelling[] = {shr::GRAYSCALE_8, shr::INDEXED_1, shr::INDEXED_8,
                                        shr::BGR_24,      shr::BGRA_32,   shr::PBGRA_32};
    return dice.OneIn(2) ? kTelling[dice.Below(6)] : kFormats[dice.Below(13)];
}

/// 1 to 200, and often 1, what is at the edge of a tile, or pixels that fill whole words.
inline int RandomSide(Dice& dice, int tileSide) {
    switch (dice.Below(6)) {
        case 0: return 1;
        case 1: return dice.Between(1, 200);
        case 2: return dice.OneIn(2) ? dice.Between(1, 12) : 32 * dice.Between(1, 4);
        case 3: return std::clamp(tileSide * dice.Between(1, 4) + dice.Between(-1, 1), 1, 200);
        default: return dice.Between(1, 70);
    }
}

inline int RandomTileSide(Dice& dice) {
    return dice.OneIn(6) ? 512 : dice.OneIn(2) ? dice.Between(1, 12) : dice.Between(1, 70);
}

inline Layout RandomLayout(Dice& dice) {
    Layout layout{};
    layout.format = RandomFormat(dice);
    layout.type = static_cast<BitmapClass>(dice.Below(3));
    do {
        layout.tileWidth = RandomTileSide(dice);
        layout.tileHeight = RandomTileSide(dice);
        layout.width = RandomSide(dice, layout.tileWidth);
        layout.height = RandomSide(dice, layout.tileHeight);
    } while (layout.width / layout.tileWidth * (layout.height / layout.tileHeight) > 1000);
    return layout;
}

/// What the pixels of a picture are like.
enum class Look { noise, fewColors, flat };

inline std::uint32_t RandomPixel(Dice& dice, ColorFormat format, Look look) {
    std::uint32_t bits = dice.Bits();
    if (look == Look::flat) bits = (bits & 0x03030303) + 0x60606060;
    if (look == Look::fewColors) bits &= 0x80808080;
    if (look == Look::fewColors && (bits & 0x80000000) != 0) bits |= 0xFF000000;
    if (format != shr::PBGRA_32) return bits;
    const std::uint32_t alpha = bits >> 24;
    std::uint32_t premultiplied = alpha << 24;
    for (int k = 0; k < 3; ++k) premultiplied |= ((bits >> 8 * k & 255) * alpha + 127) / 255 << (8 * k);
    return premultiplied;
}

inline void FillTable(zbm::ZBitmap& bitmap, Dice& dice) {
    const int size = TableSize(bitmap.GetColorFormat());
    std::vector<shr::Color4b> colors(static_cast<std::size_t>(dice.OneIn(2) ? size : dice.Between(1, size)));
    for (auto& color : colors) {
        const auto byte = [&] { return static_cast<std::uint8_t>(dice.Below(256)); };
        color = {byte(), byte(), byte(), dice.OneIn(3) ? byte() : std::uint8_t{255}};
    }
    bitmap.FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
}

inline void FillAtRandom(zbm::ZBitmap& bitmap, Dice& dice) {
    const ColorFormat format = bitmap.GetColorFormat();
    const auto look = static_cast<Look>(dice.Below(3));
    if (TableSize(format) > 0) FillTable(bitmap, dice);
    const unsigned colors = bitmap.GetNumColorTableItems();
    for (int y = 0; y < bitmap.GetPixelHeight(); ++y)
        for (int x = 0; x < bitmap.GetPixelWidth(); ++x) {
            const std::uint32_t pixel = RandomPixel(dice, format, look),
                                bits = static_cast<unsigned>(BitsPerPixel(format));
            SetPixel(bitmap, x, y, colors > 0 ? (pixel >> 8) % colors : pixel >> (32 - bits));
            if (HasMask(format)) SetMask(bitmap, x, y, !dice.OneIn(3));
        }
    bitmap.SetXResolution(dice.Between(1, 5000));
    bitmap.SetYResolution(dice.Between(1, 5000));
}

template <class Bitmap>
std::unique_ptr<zbm::ZBasicMemBitmap> MakeBitmap(const Layout& layout) {
    return std::make_unique<Bitmap>(layout.width, layout.height, layout.format, layout.tileWidth, layout.tileHeight);
}

inline std::unique_ptr<zbm::ZBasicMemBitmap> MakeBitmap(const Layout& layout) {
    switch (layout.type) {
        case BitmapClass::basic: return MakeBitmap<zbm::ZBasicMemBitmap>(layout);
        case BitmapClass::withReductions: return MakeBitmap<zbm::ZMemBitmap>(layout);
        default: return MakeBitmap<DerivedBitmap>(layout);
    }
}

inline std::unique_ptr<zbm::ZBasicMemBitmap> RandomBitmap(Dice& dice, const Layout& layout) {
    auto bitmap = MakeBitmap(layout);
    FillAtRandom(*bitmap, dice);
    return bitmap;
}

}  // namespace testkit
