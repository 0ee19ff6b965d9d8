// Makes a picture look like an old photograph: a filter of one's own between two of the library's, all in one go.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

#include "zbm/RunFilters.h"
#include "zbm/ZMemBitmap.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"

/// Browns a picture and darkens it towards its top and bottom. Alpha stays.
class OldPhotograph : public zpixf::ZPixFilterBase {
public:
    zpixf::ZPixfType FilterType() const override { return zpixf::ZPixfType::KeepsAlpha; }
    bool PullsForward() const override { return true; }  // each line once, in order

    bool FilterScanline(unsigned line, void* buffer) override {
        if (!IsReadyFor(line) || !PullLine(line, buffer)) return false;
        const unsigned height = inputFormat.GetHeight(), light = 64 + 192 * std::min(line, height - 1 - line) / height;
        auto* pixel = static_cast<std::uint8_t*>(buffer);  // blue, green, red, alpha
        for (unsigned x = 0; x < inputFormat.GetWidth(); ++x, pixel += 4) {
            const unsigned gray = (29 * pixel[0] + 150 * pixel[1] + 77 * pixel[2]) / 256 * light / 256;
            pixel[0] = static_cast<std::uint8_t>(gray * 5 / 8);
            pixel[1] = static_cast<std::uint8_t>(gray * 7 / 8);
            pixel[2] = static_cast<std::uint8_t>(gray);
        }
        return true;
    }

protected:
    bool OnStart() override { return true; }
};

int main() {
    constexpr int kWidth = 640, kHeight = 480;
    zbm::ZMemBitmap picture(kWidth, kHeight, shr::BGR_24);
    const std::vector<std::uint8_t> paper(3 * kWidth * kHeight, 200);
    picture.StoreRegion(paper.data(), 3 * kWidth, 0, 0, kWidth, kHeight);

    zpixf::ZPixfContrast contrast;
    contrast.SetContrast(0.25);
    OldPhotograph old;
    zpixf::ZPixfConvolution3 sharpen;
    sharpen.SetSharpeningConvolution(0.5);
    if (!zbm::RunFilters(picture, {&contrast, &old, &sharpen}, nullptr)) return 1;

    for (const int y : {0, kHeight / 2}) {
        std::uint8_t pixel[3];
        picture.FetchRegion(pixel, 3, kWidth / 2, y, 1, 1);
        std::printf("line %d: red %d, green %d, blue %d\n", y, pixel[2], pixel[1], pixel[0]);
    }
}
