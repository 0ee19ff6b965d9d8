// Paints a picture, stores it in a file, loads it again and looks at one of its pixels.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "shr/Archive.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

int main() {
    constexpr int kWidth = 3000, kHeight = 2000;
    zbm::ZMemBitmap picture(kWidth, kHeight, shr::BGRA_32);
    std::vector<std::uint8_t> row(4 * kWidth, 255);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) row.data()[4 * x] = static_cast<std::uint8_t>((x * x + y * y) >> 12);
        picture.StoreRegion(row.data(), 4 * kWidth, 0, y, kWidth, 1);
    }

    shr::CBufferedFile file;
    file.Open(L"rings.zbm", shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
    shr::FileArchive storing(file, shr::FileArchive::Direction::storing);
    zbm::SerializeIO out(storing, false);
    if (!picture.Serialize(out, nullptr, nullptr)) return 1;  // cancelled

    file.Seek(0);
    shr::FileArchive loading(file, shr::FileArchive::Direction::loading);
    zbm::SerializeIO in(loading, false);
    zbm::ZMemBitmap loaded(1, 1, shr::BGRA_32);
    if (!loaded.Serialize(in, nullptr, nullptr)) return 1;  // cancelled
    if (in.DamagedBlocks() != 0) std::puts("The file is damaged: parts of the picture are missing.");

    std::uint8_t pixel[4];
    loaded.FetchRegion(pixel, 4, 1234, 567, 1, 1);
    std::printf("%d x %d pixels; at (1234, 567) blue is %d\n", loaded.GetPixelWidth(), loaded.GetPixelHeight(),
                pixel[0]);
}
