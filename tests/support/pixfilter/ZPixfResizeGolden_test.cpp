// Against Pillow's BILINEAR and BICUBIC; the files and make_resize_golden.py, which wrote them, tell how.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "ResizePictures.h"

namespace zpixf::resampling {
namespace {

ResizePicture ReadPicture(std::istream& file, unsigned width, unsigned height) {
    ResizePicture picture(width, height);
    for (std::size_t i = 0; i < picture.bytes.size(); ++i)
        picture.bytes[i] = i % 4 == 3 ? std::uint8_t{255} : static_cast<std::uint8_t>(file.get());
    return picture;
}

int WorstDifference(const ResizePicture& a, const ResizePicture& b) {
    int worst = 0;
    for (std::size_t i = 0; i < a.bytes.size(); ++i) worst = std::max(worst, std::abs(a.bytes[i] - b.bytes[i]));
    return worst;
}

TEST(ResizeGolden, IsWithinALevelOfPillow) {
    unsigned files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(ZBM_TEST_DATA "/resize")) {
        std::ifstream file(entry.path(), std::ios::binary);
        unsigned sizes[4];
        for (unsigned& size : sizes) {
            size = static_cast<unsigned>(file.get());
            size += static_cast<unsigned>(file.get()) << 8;
        }
        const ResizePicture from = ReadPicture(file, sizes[0], sizes[1]);
        for (const Method method : {Method::bilinear, Method::catmullRom}) {
            const ResizePicture expected = ReadPicture(file, sizes[2], sizes[3]);
            ASSERT_TRUE(file.good());
            EXPECT_LE(WorstDifference(Resized(method, from, sizes[2], sizes[3]), expected), 1) << entry.path();
        }
        ++files;
    }
    EXPECT_EQ(files, 6u);
}

}  // namespace
}  // namespace zpixf::resampling
