// libyuv.
#include <libyuv.h>

#include <algorithm>
#include <cmath>

#include "Contest.h"
#include "operations/Draw.h"
#include "operations/FilterParameters.h"

namespace contest {

namespace {

/// `call` gets the pixels and strides of source and result, and the result's side.
template <class Call>
Enter Calling(const Call& call) {
    return [=](const Scene& s) -> Entry {
        return Doing([=, from = s.source.pixels.data(), fromStride = s.source.stride, to = s.result.pixels.data(),
                      toStride = s.result.stride,
                      side = s.result.side] { call(from, fromStride, to, toStride, side); });
    };
}

using Function = int (*)(const std::uint8_t*, int, std::uint8_t*, int, int, int);
Enter Convert(Function convert) {
    return Calling([=](auto* from, int fromStride, auto* to, int toStride, int side) {
        convert(from, fromStride, to, toStride, side, side);
    });
}

Enter Grey16() {
    return Calling([](auto* from, int, auto* to, int toStride, int side) {
        constexpr int kScaleOf16Bits = 256;
        const auto* source = reinterpret_cast<const std::uint16_t*>(from);
        libyuv::Convert16To8Plane(source, side, to, toStride, kScaleOf16Bits, side, side);
    });
}

/// Its factors are multiples of 1/64.
Enter Transform(const ColorMatrix& matrix) {
    std::array<std::int8_t, 16> factors{};
    for (std::size_t i = 0; i < matrix.size(); ++i)
        factors[i] = static_cast<std::int8_t>(std::clamp(std::lround(matrix[i] * 64), -128L, 127L));
    return Calling([=](auto* from, int fromStride, auto* to, int toStride, int side) {
        libyuv::ARGBColorMatrix(from, fromStride, to, toStride, factors.data(), side, side);
    });
}

Enter Scale(libyuv::FilterMode mode) {
    return Calling([=](auto* from, int fromStride, auto* to, int toStride, int side) {
        const int fromSide = fromStride / 4;
        libyuv::ARGBScale(from, fromStride, fromSide, fromSide, to, toStride, side, side, mode);
    });
}

Rows RowsOfLibyuv() {
    using namespace libyuv;
    Rows rows = {
        {"BGRA to RGBA", {"libyuv", Convert(ARGBToABGR)}},
        {"BGR24 to BGRA", {"libyuv", Convert(RGB24ToARGB)}},
        {"BGRA to BGR24", {"libyuv", Convert(ARGBToRGB24)}},
        {"premultiply", {"libyuv", Convert(ARGBAttenuate)}},
        {"unpremultiply", {"libyuv", Convert(ARGBUnattenuate)}},
        {"BGRA to grey 8", {"libyuv", Convert(ARGBToJ400)}},
        {"grey 8 to BGRA", {"libyuv", Convert(J400ToARGB)}},
        {"grey 16 to grey 8", {"libyuv", Grey16()}},
        {"saturation", {"libyuv ColorMatrix", Transform(SaturationMatrix(kSaturation)), "factors of 7 bits"}},
        {"desaturate", {"libyuv ARGBGrayTo", Convert(ARGBGrayTo)}},
        {"half", {"libyuv bilinear", Scale(kFilterBilinear)}},
        {"half", {"libyuv box", Scale(kFilterBox)}},
        {"bilinear down", {"libyuv bilinear", Scale(kFilterBilinear), "no antialiasing"}},
        {"bilinear down", {"libyuv box", Scale(kFilterBox), "box kernel"}},
        {"nearest down", {"libyuv none", Scale(kFilterNone)}},
        {"nearest up", {"libyuv none", Scale(kFilterNone)}},
    };
    for (const Drawn& drawn : kDrawn) {
        const FilterMode mode = drawn.isNearest ? kFilterNone : drawn.zoom < 1 ? kFilterBilinear : kFilterBox;
        rows.push_back({drawn.name, {mode == kFilterNone ? "libyuv none" : "libyuv", Scale(mode)}});
    }
    return rows;
}

[[maybe_unused]] const bool kAdded = Add({"libyuv", RowsOfLibyuv});

}  // namespace

}  // namespace contest
