#pragma once
// For tests of filters that keep the picture's size: a source that counts, and a filter that is started on it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

using PixelBytes = std::vector<std::uint8_t>;

/// A picture of 4 bytes a pixel that notes which of its lines are fetched.
struct PointPicture {
    unsigned width, height;
    PixelBytes pixels = PixelBytes(std::size_t{4} * width * height);
    std::vector<unsigned> fetched = {};
    unsigned failingLine = ~0u;

    std::size_t LineBytes() const { return std::size_t{4} * width; }
    const std::uint8_t* Line(unsigned y) const { return pixels.data() + y * LineBytes(); }
    PixelBytes LineCopy(unsigned y) const { return {Line(y), Line(y) + LineBytes()}; }

    static bool Fetch(void* self, unsigned line, void* buffer) {
        auto& picture = *static_cast<PointPicture*>(self);
        picture.fetched.push_back(line);
        if (line == picture.failingLine || line >= picture.height) return false;
        if (picture.width != 0) std::memcpy(buffer, picture.Line(line), picture.LineBytes());
        return true;
    }
};

inline PointPicture RandomPicture(unsigned width, unsigned height, unsigned seed = 1) {
    std::mt19937 random(width * 1000 + height + seed);
    PointPicture picture{width, height};
    for (auto& byte : picture.pixels) byte = static_cast<std::uint8_t>(random());
    return picture;
}

inline void Connect(ZPixFilterBase& filter, PointPicture& picture) {
    filter.SetInputFormat(ZPixFormat(picture.width, picture.height));
    filter.SetOutputFormat(ZPixFormat(picture.width, picture.height));
    filter.SetScanLineFunction(&PointPicture::Fetch, &picture);
}

/// A line of a started filter, with guards behind it.
inline PixelBytes LineOf(ZPixFilterBase& filter, unsigned y) {
    constexpr std::size_t kGuard = 64;
    const std::size_t bytes = std::size_t{4} * filter.GetOutputFormat().GetWidth();
    PixelBytes line(bytes + kGuard, 0xA5);
    EXPECT_TRUE(filter.FilterScanline(y, line.data())) << y;
    EXPECT_EQ(std::count(line.end() - kGuard, line.end(), 0xA5), static_cast<std::ptrdiff_t>(kGuard));
    line.resize(bytes);
    return line;
}

inline PixelBytes PassOf(ZPixFilterBase& filter) {
    PixelBytes result;
    for (unsigned y = 0; y < filter.GetOutputFormat().GetHeight(); ++y) {
        const PixelBytes line = LineOf(filter, y);
        result.insert(result.end(), line.begin(), line.end());
    }
    return result;
}

/// What the filter makes of a picture.
inline PixelBytes Filtered(ZPixFilterBase& filter, PointPicture picture) {
    Connect(filter, picture);
    EXPECT_TRUE(filter.Start());
    PixelBytes result = PassOf(filter);
    filter.Stop();
    return result;
}

}  // namespace zpixf
