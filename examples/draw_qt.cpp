// Draws a picture into a QImage, which a widget's paintEvent would show by QPainter::drawImage, and stores it as
// qt.png.
#include <QImage>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "zbm/Drawing.h"
#include "zbm/ZMemBitmap.h"

namespace {

/// QImage::bits makes the image's memory its own, so ask it each time and not once for all.
zbm::PixelSurface SurfaceOf(QImage& image) {
    const bool isOpaque = image.format() == QImage::Format_RGB32;
    return {image.bits(), image.bytesPerLine(), image.width(), image.height(),
            isOpaque ? zbm::SurfaceLayout::bgrx : zbm::SurfaceLayout::pbgra};
}

zbm::ZMemBitmap Stripes() {
    constexpr int kSide = 600;
    zbm::ZMemBitmap stripes(kSide, kSide, shr::BGRA_32);
    std::vector<std::uint8_t> row(4 * kSide, 200);
    for (int y = 0; y < kSide; ++y) {
        for (int x = 0; x < kSide; ++x) row.data()[4 * x + 3] = (x + y) / 40 % 2 == 0 ? 255 : 60;
        stripes.StoreRegion(row.data(), 4 * kSide, 0, y, kSide, 1);
    }
    return stripes;
}

}  // namespace

int main() {
    const zbm::ZMemBitmap stripes = Stripes();
    QImage image(400, 300, QImage::Format_ARGB32_Premultiplied);  // or Format_RGB32
    image.fill(0);
    zbm::DrawOptions options;
    options.background = zbm::DrawOptions::Background::checkerboard;
    const double zoom = 1.7, panX = 12.5, panY = 30;  // of a view
    const zbm::SourceArea area{panX, panY, image.width() / zoom, image.height() / zoom};
    const bool drawn =
        stripes.DrawOnPixels(SurfaceOf(image), {0, 0, image.width(), image.height()}, area, options, nullptr);
    const bool isStored = image.save("qt.png");
    const QRgb corner = image.pixel(0, 0);
    std::printf("drawn: %d, stored: %d, in the corner %d\n", drawn, isStored, qRed(corner));
    return drawn && isStored ? 0 : 1;
}
