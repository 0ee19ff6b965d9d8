// A program of someone who installed the library: it includes and links what the package gives, and nothing else.
#include <cstring>

#include "zbm/ZMemBitmap.h"

int main() {
    const unsigned char stored[8] = {1, 2, 3, 255, 4, 5, 6, 128};
    unsigned char fetched[8] = {};
    zbm::ZMemBitmap picture(640, 480, shr::BGRA_32, 64, 64);
    picture.StoreRegion(stored, 8, 63, 100, 2, 1);  // across two tiles
    picture.FetchRegion(fetched, 8, 63, 100, 2, 1);
    return std::memcmp(stored, fetched, sizeof stored);
}
