#include "pictures/PictureRows.h"

#include <algorithm>
#include <cstring>

#include "pictures/RowConversion.h"

namespace tool {

namespace {

shr::ColorFormat FormatOver(shr::Color4b background, shr::ColorFormat format) {
    const bool isGreyBackground = background.red == background.green && background.green == background.blue;
    if (!IsGrey(format) || !isGreyBackground) return shr::BGR_24;
    return std::max(format, shr::GRAYSCALE_8);
}

}  // namespace

PictureRows::PictureRows(zbm::ZBitmap& source, std::optional<shr::Color4b> newBackground)
    : rows(source),
      background(newBackground),
      format(background ? FormatOver(*background, rows.Format()) : rows.Format()) {
    if (!background) return;
    const auto width = static_cast<std::uint64_t>(rows.Width());
    sourceRow.resize(shr::RowBytes(width, rows.Format()));
    sourceMask.resize(shr::RowBytes(width, shr::GRAYSCALE_1));
    if (!IsGrey(format)) colors.resize(4 * width);
}

void PictureRows::Fetch(int y, std::uint8_t* pixels, std::uint8_t* mask) {
    if (!background) return rows.Fetch(0, y, Width(), pixels, mask);
    rows.Fetch(0, y, Width(), sourceRow.data(), sourceMask.data());
    if (IsGrey(format)) {
        FetchGrey(pixels);
    } else if (rows.Format() == shr::PBGRA_32) {
        LayPremultipliedOver(pixels, sourceRow.data(), *background, Width());
    } else {
        ToBgra(colors.data(), sourceRow.data(), sourceMask.data(), rows.Format(), ColorTable(), Width());
        LayOver(pixels, colors.data(), *background, Width());
    }
}

void PictureRows::FetchGrey(std::uint8_t* pixels) {
    if (format == shr::GRAYSCALE_8) {
        ToGrey8(pixels, sourceRow.data(), rows.Format(), Width());
    } else {
        std::memcpy(pixels, sourceRow.data(), sourceRow.size());
    }
    FillTransparentGrey(pixels, sourceMask.data(), format, background->red, Width());
}

}  // namespace tool
