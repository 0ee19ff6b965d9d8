#pragma once
// Pictures for the tests of the resampling filters, and the filters run over them.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "zpixf/ZPixfResize.h"

namespace zpixf::resampling {

struct ResizePicture {
    unsigned width = 0, height = 0;
    std::vector<std::uint8_t> bytes;  // B, G, R, A
    std::vector<unsigned> pulls;      // how often each line has been pulled
    bool isInOrder = true;            // whether lines have been pulled from top to bottom
    unsigned lastPulled = 0;

    ResizePicture(unsigned newWidth, unsigned newHeight)
        : width(newWidth), height(newHeight), bytes(std::size_t{4} * width * height), pulls(height) {}

    std::uint8_t* At(unsigned x, unsigned y) { return &bytes[std::size_t{4} * (std::size_t{y} * width + x)]; }
    const std::uint8_t* At(unsigned x, unsigned y) const { return const_cast<ResizePicture*>(this)->At(x, y); }

    static bool Read(void* userData, unsigned line, void* buffer) {
        auto& picture = *static_cast<ResizePicture*>(userData);
        if (line >= picture.height) return false;
        ++picture.pulls[line];
        picture.isInOrder &= line >= picture.lastPulled;
        picture.lastPulled = line;
        std::memcpy(buffer, picture.At(0, line), std::size_t{4} * picture.width);
        return true;
    }
};

enum class Alpha { opaque, varied, rare };

inline std::uint32_t NextRandom(std::uint32_t& state) {
    state = state * 1664525 + 1013904223;
    return state >> 16;
}

/// Noise; what is rare is an alpha above 0.
inline ResizePicture NoisePicture(unsigned width, unsigned height, Alpha alpha, std::uint32_t seed = 1) {
    ResizePicture picture(width, height);
    for (std::size_t i = 0; i < picture.bytes.size(); ++i)
        picture.bytes[i] = static_cast<std::uint8_t>(NextRandom(seed));
    for (std::size_t i = 3; i < picture.bytes.size(); i += 4) {
        if (alpha == Alpha::opaque) picture.bytes[i] = 255;
        if (alpha == Alpha::rare && NextRandom(seed) % 16 != 0) picture.bytes[i] = 0;
    }
    return picture;
}

enum class Method { nearest, bilinear, catmullRom, mitchell, bSpline };
constexpr Method kWeighted[] = {Method::bilinear, Method::catmullRom, Method::mitchell, Method::bSpline};

inline std::unique_ptr<ZPixFilterBase> MakeResize(Method method) {
    if (method == Method::nearest) return std::make_unique<ZPixfResize>();
    if (method == Method::bilinear) return std::make_unique<ZPixfResizeBilinear>();
    auto bicubic = std::make_unique<ZPixfResizeBicubic>();
    bicubic->SetMode(static_cast<int>(method) - static_cast<int>(Method::catmullRom));
    return bicubic;
}

inline std::unique_ptr<ZPixFilterBase> MakeResize(Method method, ResizePicture& from, unsigned width, unsigned height) {
    auto filter = MakeResize(method);
    filter->SetInputFormat(ZPixFormat(from.width, from.height));
    filter->SetOutputFormat(ZPixFormat(width, height));
    filter->SetScanLineFunction(&ResizePicture::Read, &from);
    return filter;
}

inline ResizePicture Resized(Method method, ResizePicture from, unsigned width, unsigned height) {
    ResizePicture to(width, height);
    const auto filter = MakeResize(method, from, width, height);
    EXPECT_TRUE(filter->Start());
    for (unsigned y = 0; y < height; ++y) EXPECT_TRUE(filter->FilterScanline(y, to.At(0, y)));
    return to;
}

/// The picture with pixel (x, y) taken from where `from` says.
inline ResizePicture Moved(unsigned width, unsigned height,
                           const std::function<const std::uint8_t*(unsigned x, unsigned y)>& from) {
    ResizePicture moved(width, height);
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) std::memcpy(moved.At(x, y), from(x, y), 4);
    return moved;
}
inline ResizePicture Transposed(const ResizePicture& p) {
    return Moved(p.height, p.width, [&](unsigned x, unsigned y) { return p.At(y, x); });
}
inline ResizePicture Mirrored(const ResizePicture& p) {
    return Moved(p.width, p.height, [&](unsigned x, unsigned y) { return p.At(p.width - 1 - x, y); });
}
inline ResizePicture UpsideDown(const ResizePicture& p) {
    return Moved(p.width, p.height, [&](unsigned x, unsigned y) { return p.At(x, p.height - 1 - y); });
}

}  // namespace zpixf::resampling
