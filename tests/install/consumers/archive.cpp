// A program that needs all the libraries: it filters a picture, stores it compressed, and loads it again.
#include <cstring>

#include "shr/Archive.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

int main() {
    unsigned char row[400] = {}, fetched[400] = {};
    for (int x = 0; x < 400; ++x) row[x] = static_cast<unsigned char>(x % 4 == 3 ? 255 : x % 7);
    zbm::ZMemBitmap stored(100, 100, shr::BGRA_32, 64, 64), loaded(1, 1, shr::BGRA_32);
    for (int y = 0; y < 100; ++y) stored.StoreRegion(row, sizeof row, 0, y, 100, 1);
    if (!stored.Sharpen(0.5, nullptr)) return 1;

    shr::MemoryArchive storing;
    zbm::SerializeIO out(storing, false, zcdl::CodecMethod::small);
    if (!stored.Serialize(out, nullptr, nullptr)) return 2;
    shr::MemoryArchive loading(storing.Bytes());
    zbm::SerializeIO in(loading, false);
    if (!loaded.Serialize(in, nullptr, nullptr)) return 3;

    stored.FetchRegion(row, sizeof row, 0, 50, 100, 1);
    loaded.FetchRegion(fetched, sizeof fetched, 0, 50, 100, 1);
    return std::memcmp(row, fetched, sizeof row);
}
