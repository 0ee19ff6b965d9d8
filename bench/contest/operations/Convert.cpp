#include "operations/Convert.h"

#include <babl/babl.h>
#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#include <string>

#include "convert/ZBMColorFormat.h"

namespace contest {

Job Ours(const Scene& scene) {
    const zbm::PixelRows result{scene.result, scene.to, scene.ResultStride()};
    const zbm::ConstPixelRows source{scene.SourcePixels(), scene.from, scene.SourceStride(), scene.SourceTable()};
    const auto side = static_cast<std::uint32_t>(scene.side);
    return [=] { zbm::ConvertPixels(result, source, side, side); };
}

Job CopyOfAsManyBytes(const Scene& scene) {
    return [to = scene.result, from = std::make_shared<Pixels>(scene.ResultBytes(), std::uint8_t{1})] {
        std::memcpy(to, from->data(), from->size());
        asm volatile("" : : "r"(to) : "memory");  // keeps the copy although nobody reads it
    };
}

namespace {

using LibyuvFunction = int (*)(const std::uint8_t*, int, std::uint8_t*, int, int, int);
Enter Libyuv(LibyuvFunction convert) {
    return [convert](const Scene& s) -> Job {
        return [=] { convert(s.SourcePixels(), s.SourceStride(), s.result, s.ResultStride(), s.side, s.side); };
    };
}

Job LibyuvGrey16(const Scene& s) {
    constexpr int kScaleOf16Bits = 256;
    const auto* source = reinterpret_cast<const std::uint16_t*>(s.SourcePixels());
    return [=] { libyuv::Convert16To8Plane(source, s.side, s.result, s.side, kScaleOf16Bits, s.side, s.side); };
}

cv::Mat AsMat(int side, shr::ColorFormat format, const std::uint8_t* pixels) {
    const int bytes = shr::ColorFmtToBPP[format] / 8;
    const int type = format == shr::GRAYSCALE_16 ? CV_16UC1 : CV_8UC(bytes);
    return cv::Mat(side, side, type, const_cast<std::uint8_t*>(pixels));
}

Enter OpenCv(int code) {
    return [code](const Scene& s) -> Job {
        return [code, from = AsMat(s.side, s.from, s.SourcePixels()), to = AsMat(s.side, s.to, s.result)] {
            cv::cvtColor(from, to, code);
        };
    };
}

Job OpenCvGrey16(const Scene& s) {
    return [from = AsMat(s.side, s.from, s.SourcePixels()), to = AsMat(s.side, s.to, s.result)] {
        from.convertTo(to, CV_8U, 1 / 257.0);
    };
}

Job BablProcess(const Scene& s, const Babl* from, const Babl* to, const std::uint8_t* source) {
    const Babl* fish = babl_fish(from, to);
    return [fish, source, result = s.result, count = static_cast<long>(s.PixelCount())] {
        babl_process(fish, source, result, count);
    };
}

constexpr char kStraight[] = "R'G'B'A u8", kPremultiplied[] = "R'aG'aB'aA u8", kRgb[] = "R'G'B' u8";
constexpr char kGrey8[] = "Y' u8", kGrey16[] = "Y' u16";

/// babl names red first; where an operation treats red and blue alike, that makes no difference.
Enter BablFormats(const char* from, const char* to) {
    return [from, to](const Scene& s) { return BablProcess(s, babl_format(from), babl_format(to), s.SourcePixels()); };
}

/// For grey it does: babl gets a picture with red first.
Job BablGrey(const Scene& s) {
    const auto rgba = std::make_shared<Pixels>(s.source->pixels.size());
    rules::SwapRedAndBlue(s.SourcePixels(), rgba->data(), s.PixelCount(), nullptr);
    const Job job = BablProcess(s, babl_format(kStraight), babl_format(kGrey8), rgba->data());
    return [rgba, job] { job(); };
}

/// babl's palette gets blue as its red, so that its result is ours.
Job BablPalette(const Scene& s) {
    const Babl* indexed = nullptr;
    babl_new_palette(std::to_string(s.side).c_str(), &indexed, nullptr);
    Pixels entries;
    for (const shr::Color4b color : s.source->table)
        entries.insert(entries.end(), {color.blue, color.green, color.red, color.alpha});
    babl_palette_set_palette(indexed, babl_format(kStraight), entries.data(), 256);
    return BablProcess(s, indexed, babl_format(kStraight), s.SourcePixels());
}

// Sources, each made from a square of the picture.

std::size_t CountPixels(const Pixels& bgra) { return bgra.size() / 4; }

Source Opaque(const Pixels& bgra) { return {bgra, {}}; }

/// Alpha in broad waves, which reach both ends.
Source Translucent(const Pixels& bgra) {
    Source source{bgra, {}};
    const auto side = static_cast<std::size_t>(std::lround(std::sqrt(CountPixels(bgra))));
    for (std::size_t y = 0; y < side; ++y) {
        const double height = 200 * std::cos(static_cast<double>(y) / 250);
        for (std::size_t x = 0; x < side; ++x) {
            const double alpha = 128 + height * std::sin(static_cast<double>(x) / 300);
            source.pixels[(y * side + x) * 4 + 3] = static_cast<std::uint8_t>(std::clamp(alpha, 0.0, 255.0));
        }
    }
    return source;
}

Source ByRule(const Pixels& bgra, Rule rule, std::size_t bits) {
    Source source{Pixels(CountPixels(bgra) * bits / 8), {}};
    rule(bgra.data(), source.pixels.data(), CountPixels(bgra), nullptr);
    return source;
}

Source Premultiplied(const Pixels& bgra) { return ByRule(Translucent(bgra).pixels, rules::Premultiply, 32); }
Source Bgr(const Pixels& bgra) { return ByRule(bgra, rules::DropAlpha, 24); }
Source Grey8(const Pixels& bgra) { return ByRule(bgra, rules::GreyTruncated, 8); }
Source Grey1(const Pixels& bgra) { return ByRule(bgra, rules::Threshold, 1); }

Source Grey16(const Pixels& bgra) {
    const Pixels grey = Grey8(bgra).pixels;
    Source source{Pixels(2 * grey.size()), {}};
    for (std::size_t i = 0; i < grey.size(); ++i) {
        source.pixels[2 * i] = static_cast<std::uint8_t>(grey[i] ^ (i * 37 & 255));
        source.pixels[2 * i + 1] = grey[i];
    }
    return source;
}

/// 3 bits of red, 3 of green, 2 of blue.
Source Palette8(const Pixels& bgra) {
    Source source{Pixels(CountPixels(bgra)), {}};
    for (std::size_t i = 0; i < source.pixels.size(); ++i) {
        const std::uint8_t* pixel = &bgra[4 * i];
        source.pixels[i] = static_cast<std::uint8_t>((pixel[2] & 0xe0) | (pixel[1] & 0xe0) >> 3 | pixel[0] >> 6);
    }
    for (unsigned i = 0; i < 256; ++i)
        source.table.emplace_back(rules::Byte(i & 0xe0), rules::Byte(i << 3 & 0xe0), rules::Byte(i << 6));
    return source;
}

}  // namespace

const std::vector<Operation>& Operations() {
    using namespace shr;
    using namespace libyuv;
    static const std::vector<Operation> operations = {
        {.name = "BGRA to RGBA",
         .from = BGRA_32,
         .to = RGBA_32,
         .makeSource = Opaque,
         .rule = rules::SwapRedAndBlue,
         // Between two premultiplied forms babl only swaps, too.
         .libyuv = Libyuv(ARGBToABGR),
         .openCv = OpenCv(cv::COLOR_BGRA2RGBA),
         .babl = BablFormats("cairo-ARGB32", kPremultiplied),
         .pillow = "bgra_rgba"},
        {.name = "BGR24 to BGRA",
         .from = BGR_24,
         .to = BGRA_32,
         .makeSource = Bgr,
         .rule = rules::AddAlpha,
         .libyuv = Libyuv(RGB24ToARGB),
         .openCv = OpenCv(cv::COLOR_BGR2BGRA),
         .babl = BablFormats(kRgb, kStraight),
         .pillow = "bgr_bgra"},
        {.name = "BGRA to BGR24",
         .from = BGRA_32,
         .to = BGR_24,
         .makeSource = Opaque,
         .rule = rules::DropAlpha,
         .libyuv = Libyuv(ARGBToRGB24),
         .openCv = OpenCv(cv::COLOR_BGRA2BGR),
         .babl = BablFormats(kStraight, kRgb),
         .pillow = "bgra_bgr"},
        {.name = "premultiply",
         .from = BGRA_32,
         .to = PBGRA_32,
         .makeSource = Translucent,
         .rule = rules::Premultiply,
         .libyuv = Libyuv(ARGBAttenuate),
         .openCv = OpenCv(cv::COLOR_RGBA2mRGBA),
         .babl = BablFormats(kStraight, kPremultiplied),
         .pillow = "premultiply"},
        {.name = "unpremultiply",
         .from = PBGRA_32,
         .to = BGRA_32,
         .makeSource = Premultiplied,
         .rule = rules::UnpremultiplyTruncated,
         .nearest = rules::UnpremultiplyNearest,
         .libyuv = Libyuv(ARGBUnattenuate),
         .openCv = OpenCv(cv::COLOR_mRGBA2RGBA),
         .babl = BablFormats(kPremultiplied, kStraight),
         .pillow = "unpremultiply"},
        {.name = "BGRA to grey 8",
         .from = BGRA_32,
         .to = GRAYSCALE_8,
         .makeSource = Opaque,
         .rule = rules::GreyTruncated,
         .nearest = rules::GreyNearest,
         .libyuv = Libyuv(ARGBToJ400),
         .openCv = OpenCv(cv::COLOR_BGRA2GRAY),
         .babl = BablGrey,
         .pillow = "bgra_grey8"},
        {.name = "grey 8 to BGRA",
         .from = GRAYSCALE_8,
         .to = BGRA_32,
         .makeSource = Grey8,
         .rule = rules::GreyToColor,
         .libyuv = Libyuv(J400ToARGB),
         .openCv = OpenCv(cv::COLOR_GRAY2BGRA),
         .babl = BablFormats(kGrey8, kStraight),
         .pillow = "grey8_bgra"},
        {.name = "grey 16 to grey 8",
         .from = GRAYSCALE_16,
         .to = GRAYSCALE_8,
         .makeSource = Grey16,
         .rule = rules::Grey16TopByte,
         .nearest = rules::Grey16Nearest,
         .libyuv = LibyuvGrey16,
         .openCv = OpenCvGrey16,
         .babl = BablFormats(kGrey16, kGrey8),
         .pillow = "grey16_grey8"},
        {.name = "grey 1 to grey 8",
         .from = GRAYSCALE_1,
         .to = GRAYSCALE_8,
         .makeSource = Grey1,
         .rule = rules::BitsToGrey,
         .pillow = "grey1_grey8"},
        {.name = "palette 8 to BGRA",
         .from = INDEXED_8,
         .to = BGRA_32,
         .makeSource = Palette8,
         .rule = rules::LookUp,
         .babl = BablPalette,
         .pillow = "palette8_bgra"},
        {.name = "BGRA to grey 1",
         .from = BGRA_32,
         .to = GRAYSCALE_1,
         .makeSource = Opaque,
         .rule = rules::Threshold,
         .pillow = "bgra_grey1"},
    };
    return operations;
}

}  // namespace contest
