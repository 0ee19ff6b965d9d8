#include "pictures/RowConversion.h"

#include <cstring>

#include "zbm/PixelRows.h"

namespace tool {

namespace {

constexpr std::uint8_t Byte(unsigned value) { return static_cast<std::uint8_t>(value); }

/// Of parts of 255, rounded.
constexpr std::uint8_t Product(unsigned a, unsigned b) { return Byte((a * b + 127) / 255); }

std::uint16_t Load16(const std::uint8_t* bytes) {
    std::uint16_t value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

/// Builds a mask eight pixels at a time from what is known of each pixel.
template <class IsOpaque>
void BuildMask(std::uint8_t* mask, int count, const IsOpaque& isOpaque) {
    for (int x = 0; x < count; x += 8) {
        unsigned bits = 0;
        const int end = count - x < 8 ? count - x : 8;
        for (int i = 0; i < end; ++i) bits |= isOpaque(x + i) ? 0x80u >> i : 0u;
        *mask++ = Byte(bits);
    }
}

/// A row from one format to another that has no table, as bitmaps convert it.
void ConvertRow(std::uint8_t* destination, shr::ColorFormat to, const std::uint8_t* row, shr::ColorFormat from,
                const shr::Color4b* colorTable, int count) {
    zbm::ConvertPixelRows({destination, to, 0}, {row, from, 0, colorTable}, static_cast<std::uint32_t>(count), 1);
}

template <class Sample>
void FillTransparent(std::uint8_t* row, const std::uint8_t* mask, std::uint8_t level, int count) {
    const Sample value = static_cast<Sample>(static_cast<Sample>(-1) / 255 * level);
    for (int x = 0; x < count; ++x, row += sizeof value) {
        if (!BitAt(mask, x)) std::memcpy(row, &value, sizeof value);
    }
}

/// Levels of that type to the narrower ones, rounded. There are no ties.
template <class Wide, class Narrow>
void NarrowLevels(std::uint8_t* narrow, const std::uint8_t* wide, int count) {
    constexpr std::uint64_t kStep = static_cast<Wide>(-1) / static_cast<Narrow>(-1);
    for (int x = 0; x < count; ++x, wide += sizeof(Wide), narrow += sizeof(Narrow)) {
        Wide level;
        std::memcpy(&level, wide, sizeof level);
        const auto rounded = static_cast<Narrow>((level + kStep / 2) / kStep);
        std::memcpy(narrow, &rounded, sizeof rounded);
    }
}

void FromGrey(std::uint8_t* bgra, const std::uint8_t* row, shr::ColorFormat format, int count) {
    // The levels are put into the last quarter of the destination, which is overwritten behind the reading.
    std::uint8_t* levels = bgra + 3 * static_cast<std::size_t>(count);
    ToGrey8(levels, row, format, count);
    for (int x = 0; x < count; ++x, bgra += 4) {
        const std::uint8_t level = levels[x];
        std::memset(bgra, level, 3);
        bgra[3] = shr::ALPHA_MAX;
    }
}

template <class Sample>
void AddAlphaTo(std::uint8_t* greyAlpha, const std::uint8_t* grey, const std::uint8_t* mask, int count) {
    for (int x = 0; x < count; ++x) {
        const Sample alpha = BitAt(mask, x) ? static_cast<Sample>(-1) : Sample{0};
        std::memcpy(greyAlpha, grey, sizeof(Sample));
        std::memcpy(greyAlpha + sizeof(Sample), &alpha, sizeof(Sample));
        greyAlpha += 2 * sizeof(Sample);
        grey += sizeof(Sample);
    }
}

}  // namespace

void Widen2To4(std::uint8_t* destination, const std::uint8_t* source, int count, unsigned factor) {
    for (int x = 0; x < count; x += 4) {
        const unsigned four = *source++;
        *destination++ = Byte(((four >> 6) << 4 | (four >> 4 & 3)) * factor);
        if (x + 2 < count) *destination++ = Byte(((four >> 2 & 3) << 4 | (four & 3)) * factor);
    }
}

void Narrow4To2(std::uint8_t* destination, const std::uint8_t* source, int count, unsigned factor) {
    const auto pair = [&](unsigned two) { return (two >> 4) / factor << 2 | (two & 15) / factor; };
    for (int x = 0; x < count; x += 4) {
        unsigned four = pair(*source++) << 4;
        if (x + 2 < count) four |= pair(*source++);
        *destination++ = Byte(four);
    }
}

void ValuesOf(std::uint8_t* values, const std::uint8_t* row, int bits, int count) {
    if (bits == 8) std::memcpy(values, row, static_cast<std::size_t>(count));
    if (bits == 4) {
        for (int x = 0; x < count; ++x) values[x] = (x & 1) == 0 ? Byte(row[x >> 1] >> 4u) : Byte(row[x >> 1] & 15u);
    }
    if (bits == 1) {
        for (int x = 0; x < count; ++x) values[x] = Byte(row[x >> 3] >> (7 - (x & 7)) & 1u);
    }
}

void SwapRedAndBlue(std::uint8_t* pixels, int bytesPerPixel, int count) {
    for (int x = 0; x < count; ++x, pixels += bytesPerPixel) {
        const std::uint8_t first = pixels[0];
        pixels[0] = pixels[2];
        pixels[2] = first;
    }
}

void InksToBgr(std::uint8_t* bgr, const std::uint8_t* clearCmyk, int count) {
    for (int x = 0; x < count; ++x, bgr += 3, clearCmyk += 4) {
        for (int c = 0; c < 3; ++c) bgr[c] = Product(clearCmyk[2 - c], clearCmyk[3]);
    }
}

void Darken(std::uint8_t* pixels, int bytesPerPixel, const std::uint8_t* clearBlack, int count) {
    for (int x = 0; x < count; ++x, pixels += bytesPerPixel) {
        for (int c = 0; c < 3; ++c) pixels[c] = Product(pixels[c], clearBlack[x]);
    }
}

void MaskOfValues(std::uint8_t* mask, const std::uint8_t* row, int bits, int count,
                  const std::array<bool, 256>& transparent) {
    const auto build = [&](auto valueAt) { BuildMask(mask, count, [&](int x) { return !transparent[valueAt(x)]; }); };
    if (bits == 8) build([&](int x) { return row[x]; });
    if (bits == 4) build([&](int x) { return Byte(row[x >> 1] >> ((x & 1) == 0 ? 4u : 0u) & 15u); });
    if (bits == 1) build([&](int x) { return Byte(BitAt(row, x) ? 1 : 0); });
}

void MaskOfValue16(std::uint8_t* mask, const std::uint8_t* row, int count, std::uint16_t transparent) {
    BuildMask(mask, count, [&](int x) { return Load16(row + 2 * static_cast<std::size_t>(x)) != transparent; });
}

void MaskOfAlpha(std::uint8_t* mask, const std::uint8_t* bgra, int count) {
    BuildMask(mask, count, [&](int x) { return bgra[4 * static_cast<std::size_t>(x) + 3] >= 128; });
}

void SplitAlpha(std::uint8_t* bgr, std::uint8_t* mask, const std::uint8_t* bgra, int count) {
    MaskOfAlpha(mask, bgra, count);
    for (int x = 0; x < count; ++x, bgr += 3, bgra += 4) std::memcpy(bgr, bgra, 3);
}

void JoinAlpha(std::uint8_t* bgra, const std::uint8_t* bgr, const std::uint8_t* mask, int count) {
    for (int x = 0; x < count; ++x, bgr += 3, bgra += 4) {
        std::memcpy(bgra, bgr, 3);
        bgra[3] = BitAt(mask, x) ? shr::ALPHA_MAX : shr::ALPHA_MIN;
    }
}

void ToBgra(std::uint8_t* bgra, const std::uint8_t* row, const std::uint8_t* mask, shr::ColorFormat format,
            const shr::Color4b* colorTable, int count) {
    if (shr::TraitsOf(format).IsGrey())
        FromGrey(bgra, row, format, count);  // rounded, where the library's conversion cuts off
    else
        ConvertRow(bgra, shr::BGRA_32, row, format, colorTable, count);
    if (!HasMask(format)) return;
    for (int x = 0; x < count; ++x)
        bgra[4 * static_cast<std::size_t>(x) + 3] = mask == nullptr || BitAt(mask, x) ? shr::ALPHA_MAX : shr::ALPHA_MIN;
}

void LayOver(std::uint8_t* bgr, const std::uint8_t* bgra, shr::Color4b background, int count) {
    const unsigned below[3] = {background.blue, background.green, background.red};
    for (int x = 0; x < count; ++x, bgr += 3, bgra += 4) {
        const unsigned alpha = bgra[3];
        for (int c = 0; c < 3; ++c) bgr[c] = Byte((bgra[c] * alpha + below[c] * (255 - alpha) + 127) / 255);
    }
}

void LayPremultipliedOver(std::uint8_t* bgr, const std::uint8_t* pbgra, shr::Color4b background, int count) {
    const unsigned below[3] = {background.blue, background.green, background.red};
    for (int x = 0; x < count; ++x, bgr += 3, pbgra += 4) {
        const unsigned clear = 255u - pbgra[3];
        for (int c = 0; c < 3; ++c) {
            const unsigned sum = pbgra[c] + (below[c] * clear + 127) / 255;
            bgr[c] =
                Byte(sum < 255 ? sum : 255);  // only a colour above its alpha, which no valid pixel has, exceeds it
        }
    }
}

void FillTransparentGrey(std::uint8_t* row, const std::uint8_t* mask, shr::ColorFormat format, std::uint8_t level,
                         int count) {
    if (format == shr::GRAYSCALE_8) FillTransparent<std::uint8_t>(row, mask, level, count);
    if (format == shr::GRAYSCALE_16) FillTransparent<std::uint16_t>(row, mask, level, count);
    if (format == shr::GRAYSCALE_32) FillTransparent<std::uint32_t>(row, mask, level, count);
}

void ToGrey8(std::uint8_t* grey, const std::uint8_t* row, shr::ColorFormat format, int count) {
    if (format == shr::GRAYSCALE_16) return NarrowLevels<std::uint16_t, std::uint8_t>(grey, row, count);
    if (format == shr::GRAYSCALE_32) return NarrowLevels<std::uint32_t, std::uint8_t>(grey, row, count);
    const int bits = shr::ColorFmtToBPP[format];
    ValuesOf(grey, row, bits, count);
    const unsigned scale = bits == 1 ? 255 : bits == 4 ? 17 : 1;
    for (int x = 0; x < count; ++x) grey[x] = Byte(grey[x] * scale);
}

void ToGrey16(std::uint8_t* grey, const std::uint8_t* row, int count) {
    NarrowLevels<std::uint32_t, std::uint16_t>(grey, row, count);
}

void AddAlpha(std::uint8_t* greyAlpha, const std::uint8_t* grey, const std::uint8_t* mask, int bytesPerSample,
              int count) {
    if (bytesPerSample == 1) AddAlphaTo<std::uint8_t>(greyAlpha, grey, mask, count);
    if (bytesPerSample == 2) AddAlphaTo<std::uint16_t>(greyAlpha, grey, mask, count);
    if (bytesPerSample == 4) AddAlphaTo<std::uint32_t>(greyAlpha, grey, mask, count);
}

bool HasClearBit(const std::uint8_t* mask, int count) {
    const int whole = count >> 3;
    for (int i = 0; i < whole; ++i) {
        if (mask[i] != 0xFF) return true;
    }
    const int rest = count & 7;
    return rest != 0 && (mask[whole] | 0xFF >> rest) != 0xFF;
}

}  // namespace tool
