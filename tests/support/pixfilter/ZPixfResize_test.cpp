// How the resampling filters behave as filters, and what the nearest pixel is.
#include <stdexcept>

#include "ResizePictures.h"

namespace zpixf::resampling {
namespace {

constexpr Method kMethods[] = {Method::nearest, Method::bilinear, Method::catmullRom, Method::mitchell,
                               Method::bSpline};

struct Sizes {
    unsigned width, height, toWidth, toHeight;
};
// By windows of lines, by running sums, by halves, growing.
constexpr Sizes kWays[] = {{11, 40, 7, 17}, {5, 200, 3, 3}, {12, 40, 6, 20}, {5, 9, 8, 31}, {3, 8, 3, 8}};

TEST(ZPixfResize, TakesThePixelInWhichTheCentreLies) {
    for (unsigned from = 1; from <= 40; ++from)
        for (unsigned to = 1; to <= 40; ++to) {
            ResizePicture line(from, 1);
            for (unsigned i = 0; i < from; ++i) line.At(i, 0)[i % 4] = static_cast<std::uint8_t>(i + 1);
            const ResizePicture across = Resized(Method::nearest, line, to, 1);
            const ResizePicture down = Resized(Method::nearest, Transposed(line), 1, to);
            for (unsigned i = 0; i < to; ++i) {
                const unsigned nearest = (2 * i + 1) * from / (2 * to);
                ASSERT_EQ(std::memcmp(across.At(i, 0), line.At(nearest, 0), 4), 0) << from << " -> " << to << ": " << i;
                ASSERT_EQ(std::memcmp(down.At(0, i), line.At(nearest, 0), 4), 0) << from << " -> " << to << ": " << i;
            }
        }
}

// In floating point the last pixels of such widths miss; only what is asked for is pulled.
TEST(ZPixfResize, FindsThePixelExactlyInVeryHighPictures) {
    struct Tall {
        unsigned pulled = 0;
        static bool Read(void* userData, unsigned line, void* buffer) {
            static_cast<Tall*>(userData)->pulled = line;
            std::memset(buffer, 0, 4);
            return true;
        }
    } tall;
    ZPixfResize filter;
    filter.SetInputFormat(ZPixFormat(1, 4294967295u));
    filter.SetOutputFormat(ZPixFormat(1, 4294967291u));
    filter.SetScanLineFunction(&Tall::Read, &tall);
    ASSERT_TRUE(filter.Start());
    std::uint8_t pixel[4];
    for (const unsigned line : {0u, 1u, 2147483645u, 2147483646u, 4294967290u}) {
        ASSERT_TRUE(filter.FilterScanline(line, pixel));
        // (2 y + 1) * 4294967295 / (2 * 4294967291) = y + 1/2 + (2 y + 1) * 4 / (2 * 4294967291)
        const double beyond = 0.5 + (2.0 * line + 1) * 4 / (2 * 4294967291.0);
        EXPECT_EQ(tall.pulled, line + static_cast<unsigned>(beyond));
    }
}

TEST(ResizeFilters, TellTheirTypes) {
    EXPECT_EQ(MakeResize(Method::nearest)->FilterType(), ZPixfType::Resize);
    EXPECT_EQ(MakeResize(Method::bilinear)->FilterType(), ZPixfType::Resize);
    EXPECT_EQ(MakeResize(Method::mitchell)->FilterType(), ZPixfType::ResizeBicubic);
}

TEST(ResizeFilters, PullEachLineAtMostOnceAndFromTopToBottomInEveryPass) {
    for (const Method method : kMethods)
        for (const Sizes& s : kWays) {
            ResizePicture from = NoisePicture(s.width, s.height, Alpha::opaque);
            const auto filter = MakeResize(method, from, s.toWidth, s.toHeight);
            ASSERT_TRUE(filter->Start());
            ResizePicture to(s.toWidth, s.toHeight);
            for (unsigned pass = 1; pass <= 2; ++pass) {
                from.pulls.assign(from.height, 0);
                from.lastPulled = 0;
                for (unsigned y = 0; y < s.toHeight; ++y) ASSERT_TRUE(filter->FilterScanline(y, to.At(0, y)));
                for (const unsigned pulls : from.pulls) EXPECT_LE(pulls, 1u);
                EXPECT_TRUE(from.isInOrder);
                EXPECT_TRUE(method == Method::nearest || from.pulls == std::vector<unsigned>(s.height, 1u));
            }
        }
}

TEST(ResizeFilters, BeginAnewAtLineZeroWithTheLinesAsTheyAreThen) {
    for (const Method method : kMethods)
        for (const Sizes& s : kWays)
            for (unsigned before = 0; before < s.toHeight; before += 2) {
                ResizePicture from = NoisePicture(s.width, s.height, Alpha::varied);
                const auto filter = MakeResize(method, from, s.toWidth, s.toHeight);
                ASSERT_TRUE(filter->Start());
                ResizePicture to(s.toWidth, s.toHeight);
                for (unsigned y = 0; y <= before; ++y) ASSERT_TRUE(filter->FilterScanline(y, to.At(0, y)));
                from.bytes = NoisePicture(s.width, s.height, Alpha::varied, 99).bytes;
                for (unsigned y = 0; y < s.toHeight; ++y) ASSERT_TRUE(filter->FilterScanline(y, to.At(0, y)));
                ASSERT_EQ(to.bytes, Resized(method, from, s.toWidth, s.toHeight).bytes);
            }
}

TEST(ResizeFilters, GiveTheSameLinesWhenSomeAreSkipped) {
    for (const Method method : kMethods)
        for (const Sizes& s : kWays)
            for (const unsigned step : {2u, 3u, 7u}) {
                ResizePicture from = NoisePicture(s.width, s.height, Alpha::varied);
                const ResizePicture whole = Resized(method, from, s.toWidth, s.toHeight);
                const auto filter = MakeResize(method, from, s.toWidth, s.toHeight);
                ASSERT_TRUE(filter->Start());
                std::vector<std::uint8_t> line(std::size_t{4} * s.toWidth);
                for (unsigned y = step - 1; y < s.toHeight; y += step) {
                    ASSERT_TRUE(filter->FilterScanline(y, line.data()));
                    ASSERT_EQ(std::memcmp(line.data(), whole.At(0, y), line.size()), 0);
                }
                for (const unsigned pulls : from.pulls) EXPECT_LE(pulls, 1u);
            }
}

TEST(ResizeFilters, WriteExactlyTheirLine) {
    for (const Method method : kMethods)
        for (unsigned width = 1; width <= 67; ++width)
            for (const unsigned fromWidth : {41u, 2 * width}) {
                ResizePicture from = NoisePicture(fromWidth, 6, width % 2 == 0 ? Alpha::opaque : Alpha::varied);
                const auto filter = MakeResize(method, from, width, 3);
                ASSERT_TRUE(filter->Start());
                std::vector<std::uint8_t> line(4 * width + 64, 0xA5);
                ASSERT_TRUE(filter->FilterScanline(0, line.data() + 32));
                for (unsigned i = 0; i < 32; ++i) {
                    ASSERT_EQ(line[i], 0xA5);
                    ASSERT_EQ(line[32 + 4 * width + i], 0xA5);
                }
            }
}

TEST(ResizeFilters, RefuseAPictureWithoutPixelsButNotAResultWithoutPixels) {
    for (const Method method : kMethods)
        for (const Sizes& s : {Sizes{0, 3, 4, 4}, Sizes{3, 0, 4, 4}, Sizes{0, 0, 1, 1}}) {
            ResizePicture from(s.width, s.height);
            const auto filter = MakeResize(method, from, s.toWidth, s.toHeight);
            EXPECT_FALSE(filter->Start());
            EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
            EXPECT_EQ(filter->GetErrorFile(), "ZPixfResize");
            std::uint8_t line[16];
            EXPECT_FALSE(filter->FilterScanline(0, line));
        }
    for (const Method method : kMethods)
        for (const Sizes& s : {Sizes{3, 3, 0, 2}, Sizes{3, 3, 2, 0}, Sizes{0, 3, 0, 3}, Sizes{3, 0, 3, 0},
                               Sizes{0, 0, 0, 0}, Sizes{2, 0, 0, 1}}) {
            ResizePicture from(s.width, s.height);
            const auto filter = MakeResize(method, from, s.toWidth, s.toHeight);
            EXPECT_TRUE(filter->Start());
            std::uint8_t guard = 0xA5;
            for (unsigned y = 0; y < s.toHeight; ++y) EXPECT_TRUE(s.toWidth != 0 || filter->FilterScanline(y, &guard));
            EXPECT_FALSE(filter->FilterScanline(s.toHeight, &guard));
            EXPECT_EQ(guard, 0xA5);
        }
}

TEST(ResizeFilters, RefuseOtherFormatsThanFourChannelsOfEightBits) {
    for (const Method method : kMethods)
        for (const bool isInput : {true, false})
            for (const ZPixFormat& other :
                 {ZPixFormat(4, 4, 3, 8), ZPixFormat(4, 4, 4, 16), ZPixFormat(4, 4, 1, 8, 256)}) {
                ResizePicture from(4, 4);
                const auto filter = MakeResize(method, from, 4, 4);
                isInput ? filter->SetInputFormat(other) : filter->SetOutputFormat(other);
                EXPECT_FALSE(filter->Start());
                EXPECT_FALSE(filter->GetErrorDescription().IsEmpty());
            }
}

TEST(ZPixfResizeBicubic, RefusesAModeThatThereIsNot) {
    for (const int mode : {-1, 3}) {
        ResizePicture from(4, 4);
        ZPixfResizeBicubic filter;
        filter.SetInputFormat(ZPixFormat(4, 4));
        filter.SetOutputFormat(ZPixFormat(2, 2));
        filter.SetScanLineFunction(&ResizePicture::Read, &from);
        filter.SetMode(mode);
        EXPECT_FALSE(filter.Start());
        EXPECT_FALSE(filter.GetErrorDescription().IsEmpty());
        filter.SetMode(2);
        EXPECT_TRUE(filter.Start());
    }
}

TEST(ResizeFilters, MayBeStoppedTwiceAndStartedAgain) {
    for (const Method method : kMethods) {
        ResizePicture from = NoisePicture(9, 9, Alpha::varied);
        const auto filter = MakeResize(method, from, 5, 4);
        std::uint8_t line[20];
        filter->Stop();
        EXPECT_FALSE(filter->FilterScanline(0, line));
        ASSERT_TRUE(filter->Start());
        EXPECT_TRUE(filter->FilterScanline(0, line));
        filter->Stop();
        filter->Stop();
        EXPECT_FALSE(filter->FilterScanline(0, line));
        ASSERT_TRUE(filter->Start());
        EXPECT_TRUE(filter->FilterScanline(3, line));
    }
}

}  // namespace
}  // namespace zpixf::resampling
