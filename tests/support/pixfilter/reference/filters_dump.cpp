// Runs every filter on small pictures and writes to the standard output what went in and what came out, for
// filters_reference.py to compute again. A record is a line of words
//
//     filter=blur ... in=23x17 out=23x17 bits=8 palette=16
//
// and then the bytes: the input's pixels (B, G, R, A), the output's lines, which hold `bits` a pixel and are padded to
// whole bytes, and the output's palette (B, G, R, 0). Numbers in words are as printf's %a writes them.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>
#if defined(_WIN32)
#include <fcntl.h>
#include <io.h>
#endif

#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfQuantize.h"
#include "zpixf/ZPixfResize.h"

namespace {

using Bytes = std::vector<unsigned char>;

unsigned char Byte(unsigned value) { return static_cast<unsigned char>(value); }

struct Picture {
    unsigned width, height;
    Bytes pixels;

    static bool Read(void* picture, unsigned line, void* buffer) {
        const auto& [width, height, pixels] = *static_cast<const Picture*>(picture);
        const auto* from = pixels.data() + std::size_t{4} * width * line;
        std::copy_n(from, std::size_t{4} * width, static_cast<unsigned char*>(buffer));
        return true;
    }
};

enum class Colors { noise, shades, few };
enum class Alpha { opaque, noise, holes, faint, none };

std::mt19937 random(2024);  // the same numbers everywhere
unsigned Below(unsigned end) { return static_cast<unsigned>(random() % end); }

unsigned Level(Colors colors, unsigned x, unsigned y, unsigned channel) {
    switch (colors) {
        case Colors::noise: return Below(256);
        case Colors::shades: return (x * (2 + channel) + y * (5 - channel) + 40 * channel + Below(12)) % 256;
        case Colors::few: break;
    }
    return (x / 3 + y / 2) * (40 + 31 * channel) % 256;
}

unsigned AlphaLevel(Alpha alpha) {
    switch (alpha) {
        case Alpha::opaque: return 255;
        case Alpha::noise: return Below(256);
        case Alpha::holes: return Below(3) == 0 ? 0 : 255;
        case Alpha::faint: return Below(4) == 0 ? Below(20) : 0;
        case Alpha::none: break;
    }
    return 0;
}

Picture Make(unsigned width, unsigned height, Colors colors, Alpha alpha) {
    Picture picture{width, height, {}};
    for (unsigned y = 0; y < height; ++y)
        for (unsigned x = 0; x < width; ++x) {
            for (unsigned channel = 0; channel < 3; ++channel)
                picture.pixels.push_back(Byte(Level(colors, x, y, channel)));
            picture.pixels.push_back(Byte(AlphaLevel(alpha)));
        }
    return picture;
}

[[noreturn]] void Fail(const std::string& words, const zpixf::ZPixFilterBase& filter) {
    std::fprintf(stderr, "%s: %s\n", words.c_str(), filter.GetErrorDescription().ToUtf8().c_str());
    std::exit(1);
}

void Write(const Bytes& bytes) { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }

/// `output` is the format that the filter is to give.
void Dump(const std::string& words, zpixf::ZPixFilterBase& filter, Picture picture, const zpixf::ZPixFormat& output) {
    filter.SetInputFormat(zpixf::ZPixFormat(picture.width, picture.height));
    filter.SetOutputFormat(output);
    filter.SetScanLineFunction(&Picture::Read, &picture);
    if (!filter.Start()) Fail(words, filter);
    const unsigned bits = output.GetChannels() * output.GetBitsPerChannel();
    const std::size_t lineBytes = (std::size_t{bits} * output.GetWidth() + 7) / 8;
    Bytes result(lineBytes * output.GetHeight()), palette;
    for (unsigned y = 0; y < output.GetHeight(); ++y)
        if (!filter.FilterScanline(y, result.data() + lineBytes * y)) Fail(words, filter);
    const zpixf::ZPixFormat& given = filter.GetOutputFormat();
    for (unsigned i = 0; i < given.GetNumColors(); ++i) {
        const RGBQUAD& entry = given.GetColors()[i];
        palette.insert(palette.end(), {entry.rgbBlue, entry.rgbGreen, entry.rgbRed, entry.rgbReserved});
    }
    filter.Stop();
    std::printf("%s in=%ux%u out=%ux%u bits=%u palette=%u\n", words.c_str(), picture.width, picture.height,
                output.GetWidth(), output.GetHeight(), bits, given.GetNumColors());
    Write(picture.pixels);
    Write(result);
    Write(palette);
}

void DumpSameSize(const std::string& words, zpixf::ZPixFilterBase& filter, const Picture& picture) {
    Dump(words, filter, picture, zpixf::ZPixFormat(picture.width, picture.height));
}

std::string Number(double value) {
    char text[64];
    std::snprintf(text, sizeof text, "%a", value);
    return text;
}

double Between(double low, double high) { return low + (high - low) * (static_cast<double>(random()) / 4294967296.0); }

void DumpAdjustments() {
    std::vector<double> amounts = {-1, -0.5, -0.175, 0, 0.175, 0.5, 0.9, 0.995, 0.999, 1};
    for (int i = 0; i < 20; ++i) amounts.push_back(Between(-1, 1));
    const Picture picture = Make(64, 12, Colors::noise, Alpha::noise);
    for (const double amount : amounts) {
        const std::string words = " amount=" + Number(amount);
        zpixf::ZPixfBrightness brightness;
        brightness.SetBrightness(amount);
        DumpSameSize("filter=brightness" + words, brightness, picture);
        zpixf::ZPixfContrast contrast;
        contrast.SetContrast(amount);
        DumpSameSize("filter=contrast" + words, contrast, picture);
        zpixf::ZPixfSaturation saturation;
        saturation.SetSaturation(amount);
        DumpSameSize("filter=saturation" + words, saturation, picture);
        zpixf::ZPixfConvolution3 sharpening;
        sharpening.SetSharpeningConvolution(amount);
        DumpSameSize("filter=sharpening" + words, sharpening, Make(21, 9, Colors::noise, Alpha::noise));
    }
    zpixf::ZPixfDesaturate desaturate;
    DumpSameSize("filter=desaturation", desaturate, picture);
}

const char* const kModes[] = {"blur", "gaussian", "sharpen", "edge", "sobelHorizontal", "sobelVertical", "emboss"};

template <class Filter, class Mode>
void DumpModes(unsigned side) {
    int mode = 2;  // the first behind that of the user
    for (const char* name : kModes) {
        Filter filter;
        filter.SetConvolution(static_cast<Mode>(mode++));
        const std::string words = "filter=mode side=" + std::to_string(side) + " mode=" + name;
        for (const Colors colors : {Colors::noise, Colors::shades})
            DumpSameSize(words, filter, Make(37, 11, colors, Alpha::noise));
        DumpSameSize(words, filter, Make(1, 1, Colors::noise, Alpha::noise));
        DumpSameSize(words, filter, Make(2, 3, Colors::noise, Alpha::noise));
    }
}

template <class Filter>
void DumpKernel(unsigned side, const std::function<double()>& coefficient, double divisor, double bias) {
    std::vector<double> kernel;
    std::string words = "filter=convolution side=" + std::to_string(side) + " divisor=" + Number(divisor) +
                        " bias=" + Number(bias) + " kernel=";
    for (unsigned i = 0; i < side * side; ++i) {
        kernel.push_back(coefficient());
        words += (i == 0 ? "" : ",") + Number(kernel.back());
    }
    Filter filter;
    filter.SetUserConvolution(kernel.data(), divisor, bias);
    DumpSameSize(words, filter, Make(29, 7, Colors::noise, Alpha::noise));
}

/// Kernels for each way of computing: whole numbers, tenths, any fractions, and numbers beyond all bounds.
template <class Filter>
void DumpKernels(unsigned side) {
    const auto whole = [] { return static_cast<double>(Below(19)) - 9; };
    const auto large = [] { return static_cast<double>(Below(1201)) - 600; };
    const auto tenths = [] { return (static_cast<double>(Below(21)) - 10) / 10; };
    const auto any = [] { return Between(-1, 1); };
    const auto none = [] { return Between(-1, 1) > 0.8 ? 1.0 : 0.0; };
    const auto opposite = [sign = 1.0]() mutable { return 0.1 * (sign = -sign); };
    for (int i = 0; i < 3; ++i) {
        DumpKernel<Filter>(side, whole, 0, 0);
        DumpKernel<Filter>(side, whole, 1 + Below(40), Below(256));
        DumpKernel<Filter>(side, large, 700, 128);
        DumpKernel<Filter>(side, tenths, 1, 64);
        DumpKernel<Filter>(side, tenths, -0.7, 200);
        DumpKernel<Filter>(side, any, 0, 0.25);
        DumpKernel<Filter>(side, any, Between(-3, 3), Between(0, 255));
        DumpKernel<Filter>(
            side, [&] { return 1e9 * any(); }, 3e9, 100);
        DumpKernel<Filter>(side, none, 0, 0);
    }
    DumpKernel<Filter>(side, opposite, 0, 128);
}

void DumpConvolutions() {
    DumpModes<zpixf::ZPixfConvolution3, zpixf::ZPixf3x3Mode>(3);
    DumpModes<zpixf::ZPixfConvolution5, zpixf::ZPixf5x5Mode>(5);
    DumpKernels<zpixf::ZPixfConvolution3>(3);
    DumpKernels<zpixf::ZPixfConvolution5>(5);
}

void DumpMedians() {
    for (const unsigned span : {0u, 1u, 2u, 3u, 4u, 5u, 7u, 8u, 11u, 31u}) {
        zpixf::ZPixfMedian median;
        median.SetSpan(span);
        const std::string words = "filter=median span=" + std::to_string(span);
        DumpSameSize(words, median, Make(19, 11, Colors::noise, Alpha::noise));
        DumpSameSize(words, median, Make(2, 7, Colors::noise, Alpha::noise));
        DumpSameSize(words, median, Make(40, 3, Colors::shades, Alpha::noise));
    }
}

struct Sizes {
    unsigned width, height, toWidth, toHeight;
};

void DumpResized(const std::string& words, zpixf::ZPixFilterBase& filter, const Sizes& sizes) {
    for (const Alpha alpha : {Alpha::opaque, Alpha::noise, Alpha::holes, Alpha::faint, Alpha::none})
        Dump(words, filter, Make(sizes.width, sizes.height, Colors::noise, alpha),
             zpixf::ZPixFormat(sizes.toWidth, sizes.toHeight));
}

void DumpResampling() {
    const Sizes sizes[] = {
        {11, 9, 23, 31}, {23, 17, 11, 5}, {16, 12, 8, 6}, {16, 10, 8, 13},  {13, 14, 9, 7},
        {8, 8, 32, 32},  {31, 5, 10, 10}, {1, 1, 7, 5},   {7, 5, 1, 1},     {40, 3, 13, 3},
        {5, 130, 4, 2},  {300, 2, 3, 3},  {64, 64, 3, 3}, {19, 13, 19, 13}, {6, 6, 3, 3},
        {2, 2, 1, 1},    {10, 400, 2, 5}, {12, 7, 13, 8}, {2100, 1, 3, 2},  {1, 1100, 1, 2},
    };
    for (const Sizes& size : sizes) {
        zpixf::ZPixfResize nearest;
        DumpResized("filter=resize kernel=nearest", nearest, size);
        zpixf::ZPixfResizeBilinear bilinear;
        DumpResized("filter=resize kernel=bilinear", bilinear, size);
        for (const int mode : {0, 1, 2}) {
            zpixf::ZPixfResizeBicubic bicubic;
            bicubic.SetMode(mode);
            DumpResized("filter=resize kernel=bicubic" + std::to_string(mode), bicubic, size);
        }
    }
}

const zpixf::ZPixFormat& Indices(const Picture& picture, unsigned bits, unsigned colors = 0) {
    static zpixf::ZPixFormat format;
    format = zpixf::ZPixFormat(picture.width, picture.height, bits == 32 ? 4 : 1, bits == 32 ? 8 : bits, colors);
    return format;
}

struct CountedColors {
    unsigned desired;
    std::vector<std::array<unsigned, 4>> colors;  ///< B, G, R and how many pixels have them
};

/// Such pictures are rare: when least variance has cut their colours, an entry is nearest to none of them.
const CountedColors kLeavingEntriesWithoutPixels[] = {
    {6,
     {{5, 4, 4, 1},
      {5, 4, 5, 100},
      {3, 3, 4, 1},
      {3, 5, 4, 1},
      {2, 0, 0, 1},
      {3, 0, 0, 100},
      {5, 2, 3, 1},
      {4, 2, 2, 2},
      {1, 0, 0, 1},
      {0, 5, 1, 5}}},
    {7,
     {{1, 0, 5, 1},
      {2, 0, 0, 5},
      {0, 0, 0, 100},
      {2, 3, 1, 1},
      {4, 0, 2, 100},
      {5, 0, 0, 5},
      {3, 0, 0, 5},
      {4, 0, 0, 1},
      {3, 4, 2, 20}}},
    // Here several colours are equally far from their entries.
    {7,
     {{18, 1, 16, 5},
      {1, 0, 0, 2},
      {10, 17, 16, 5},
      {0, 0, 0, 1},
      {0, 36, 5, 20},
      {38, 27, 10, 2},
      {28, 34, 9, 1},
      {3, 13, 35, 5},
      {39, 18, 14, 1},
      {37, 0, 0, 1},
      {1, 30, 37, 1},
      {31, 0, 0, 5}}},
    {9,
     {{104, 0, 0, 2},
      {232, 195, 148, 100},
      {108, 0, 0, 20},
      {185, 119, 123, 1},
      {160, 101, 104, 2},
      {115, 0, 0, 2},
      {29, 0, 0, 100},
      {16, 83, 40, 100},
      {19, 242, 229, 5},
      {194, 25, 202, 20},
      {15, 102, 167, 20},
      {199, 0, 0, 1},
      {142, 0, 0, 20},
      {170, 122, 133, 1},
      {67, 0, 0, 5}}},
    {10,
     {{2, 0, 0, 20},
      {4, 1, 3, 1},
      {4, 2, 3, 5},
      {2, 0, 4, 20},
      {4, 0, 0, 2},
      {3, 4, 4, 100},
      {5, 0, 0, 2},
      {1, 1, 2, 1},
      {1, 0, 0, 5},
      {4, 5, 2, 1},
      {5, 5, 0, 20},
      {0, 0, 4, 20},
      {3, 3, 1, 100},
      {0, 0, 0, 1}}},
    {13,
     {{2, 0, 3, 100},
      {4, 2, 4, 2},
      {3, 0, 0, 1},
      {0, 2, 2, 1},
      {1, 1, 4, 20},
      {1, 0, 0, 100},
      {3, 2, 4, 20},
      {3, 4, 2, 20},
      {2, 3, 0, 2},
      {3, 3, 5, 20},
      {2, 5, 2, 1},
      {4, 3, 2, 1},
      {4, 2, 1, 2},
      {4, 0, 0, 1},
      {5, 0, 0, 100},
      {5, 2, 0, 100}}},
};

Picture LineOf(const CountedColors& counted) {
    Picture picture{0, 1, {}};
    for (const auto& [blue, green, red, count] : counted.colors)
        for (unsigned i = 0; i < count; ++i, ++picture.width)
            picture.pixels.insert(picture.pixels.end(), {Byte(blue), Byte(green), Byte(red), 255});
    return picture;
}

Picture Grey(Picture picture) {
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        picture.pixels[i] = picture.pixels[i + 1] = picture.pixels[i + 2];
    return picture;
}

template <class Filter>
void DumpQuantizer(const char* name) {
    const auto dump = [&](const Picture& picture, unsigned colors, unsigned bits) {
        Filter filter;
        filter.SetDesiredColors(colors);
        const std::string words = std::string("filter=quantizer by=") + name + " colors=" + std::to_string(colors);
        Dump(words, filter, picture, Indices(picture, bits));
    };
    for (const unsigned colors : {1u, 2u, 3u, 7u, 16u, 50u}) {
        dump(Make(41, 20, Colors::noise, Alpha::holes), colors, 8);
        dump(Make(60, 40, Colors::shades, Alpha::noise), colors, colors <= 16 ? 4 : 8);
        dump(Make(30, 20, Colors::few, Alpha::opaque), colors, 32);
        dump(Make(12, 9, Colors::noise, Alpha::none), colors, 8);
    }
    dump(Make(9, 7, Colors::few, Alpha::opaque), 256, 8);  // has fewer
    dump(Make(37, 29, Colors::noise, Alpha::opaque), 2, 1);
    dump(Make(20, 21, Colors::shades, Alpha::opaque), 256, 8);
    for (const unsigned colors : {1u, 7u, 40u}) dump(Grey(Make(40, 20, Colors::noise, Alpha::holes)), colors, 8);
    dump(Make(130, 130, Colors::noise, Alpha::opaque), 5, 8);  // more than are counted each for itself
    for (const CountedColors& colors : kLeavingEntriesWithoutPixels) dump(LineOf(colors), colors.desired, 8);
}

/// Indices into the pixels of `entries`.
zpixf::ZPixFormat IndicesOf(const Picture& picture, unsigned bits, const Picture& entries) {
    zpixf::ZPixFormat format = Indices(picture, bits);
    std::vector<RGBQUAD> palette;
    for (std::size_t i = 0; i < entries.pixels.size(); i += 4)
        palette.push_back({entries.pixels[i], entries.pixels[i + 1], entries.pixels[i + 2], 0});
    format.FillColorTable(static_cast<unsigned>(palette.size()), palette.data());
    return format;
}

template <class Filter>
void DumpDitherer(const char* name) {
    const std::string words = std::string("filter=ditherer by=") + name;
    const auto dumpFixed = [&](const Picture& picture, unsigned bits, unsigned colors) {
        Filter filter;
        Dump(words + " given=" + std::to_string(colors), filter, picture, Indices(picture, bits, colors));
    };
    const auto dumpOwn = [&](const Picture& picture, unsigned bits, const Picture& entries) {
        Filter filter;
        Dump(words + " given=own", filter, picture, IndicesOf(picture, bits, entries));
    };
    for (const Colors colors : {Colors::noise, Colors::shades})
        for (const Alpha alpha : {Alpha::opaque, Alpha::holes}) {
            dumpFixed(Make(70, 4, colors, alpha), 1, 0);
            dumpFixed(Make(35, 8, colors, alpha), 4, 0);
            dumpFixed(Make(13, 11, colors, alpha), 8, 0);
            dumpFixed(Make(17, 9, colors, alpha), 32, 20);
            dumpFixed(Make(17, 9, colors, alpha), 8, 3);
            dumpOwn(Make(23, 9, colors, alpha), 8, Make(9, 1, Colors::noise, Alpha::none));
            dumpOwn(Make(23, 9, colors, alpha), 8, Make(5, 8, Colors::shades, Alpha::none));
            dumpOwn(Make(23, 9, colors, alpha), 4, Make(14, 1, Colors::few, Alpha::none));  // some repeated
            dumpOwn(Make(23, 9, colors, alpha), 32, Make(1, 1, Colors::noise, Alpha::none));
        }
    dumpOwn(Make(33, 9, Colors::noise, Alpha::noise), 8, Grey(Make(6, 1, Colors::noise, Alpha::none)));
    const Picture own = Make(16, 9, Colors::few, Alpha::opaque);
    dumpOwn(own, 8, own);  // all colours are the palette's
}

template <class Filter>
void DumpStrengths(const char* name) {
    const Picture entries = Make(9, 1, Colors::noise, Alpha::none);
    for (const auto& [strength, text] : {std::pair{0.0, "0"}, {0.25, "0.4"}, {0.75, "0.c"}})
        for (const Colors colors : {Colors::noise, Colors::shades}) {
            Filter filter;
            filter.SetStrength(strength);
            const Picture picture = Make(23, 9, colors, Alpha::opaque);
            Dump(std::string("filter=ditherer given=own by=") + name + " strength=" + text, filter, picture,
                 IndicesOf(picture, 8, entries));
        }
}

}  // namespace

int main() {
#if defined(_WIN32)
    _setmode(_fileno(stdout), _O_BINARY);
#endif
    DumpAdjustments();
    DumpConvolutions();
    DumpMedians();
    DumpResampling();
    DumpQuantizer<zpixf::ZPixfQuantizeMedian5>("median5");
    DumpQuantizer<zpixf::ZPixfQuantizeMedian8>("median8");
    DumpQuantizer<zpixf::ZPixfQuantizePopularity>("popularity");
    DumpDitherer<zpixf::ZPixfDitherOrdered>("ordered");
    DumpDitherer<zpixf::ZPixfDitherBlueNoise>("blue-noise");
    DumpStrengths<zpixf::ZPixfDitherOrdered>("ordered");
    DumpStrengths<zpixf::ZPixfDitherBlueNoise>("blue-noise");
    DumpDitherer<zpixf::ZPixfDitherDiffuse>("diffuse");
}
