#include "operations/Filters.h"

#include <cstdio>
#include <numbers>
#include <numeric>
#include <opencv2/imgproc.hpp>

#include "rivals/Rivals.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfResize.h"

namespace contest::filters {

namespace {

/// Makes a filter and sets it up.
template <class Filter, class SetUp>
MakeFilter Ours(const SetUp& setUp) {
    return [=]() -> std::unique_ptr<zpixf::ZPixFilterBase> {
        auto filter = std::make_unique<Filter>();
        setUp(*filter);
        return filter;
    };
}
template <class Filter>
MakeFilter Ours() {
    return Ours<Filter>([](Filter&) {});
}

constexpr int kWhole = kPictureSide, kPiece = kTileSide;

std::vector<Size> WholeAndPiece() { return {{kWhole, kWhole}, {kPiece, kPiece}}; }

/// The numbers of a job of Pillow.
template <class Numbers>
std::string Listed(const Numbers& numbers) {
    std::string list;
    for (const double number : numbers) {
        char text[32];
        std::snprintf(text, sizeof text, "%s%.17g", list.empty() ? "" : ",", number);
        list += text;
    }
    return list;
}

// Levels

std::vector<Entrant> RivalsOfLevels(Line line) {
    return {{.name = "OpenCV arithmetic", .enter = openCv::Arithmetic(line)},
            {.name = "OpenCV LUT", .enter = openCv::LookUp(line)},
            {.name = "Pillow point", .pillowJob = "point:" + Listed(line.Levels())}};
}

Operation Brightness(double amount) {
    const Line line{1 - amount, 255 * amount};
    const MakeFilter ours = Ours<zpixf::ZPixfBrightness>([=](auto& filter) { filter.SetBrightness(amount); });
    return {"brightness", WholeAndPiece(), ours, RivalsOfLevels(line), references::Levels(line)};
}

Operation Contrast(double amount) {
    const double slope = std::tan((amount + 1) * std::numbers::pi / 4);
    const Line line{slope, 127.5 * (1 - slope)};
    const MakeFilter ours = Ours<zpixf::ZPixfContrast>([=](auto& filter) { filter.SetContrast(amount); });
    return {"contrast", WholeAndPiece(), ours, RivalsOfLevels(line), references::Levels(line)};
}

// Colours

/// Each colour keeps `amount` of its distance from the luma.
ColorMatrix SaturationMatrix(double amount) {
    constexpr double kLuma[3] = {0.114, 0.587, 0.299};
    ColorMatrix matrix{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            matrix[row * 4 + column] = (1 - amount) * kLuma[column] + (row == column ? amount : 0);
    matrix[15] = 1;
    return matrix;
}

constexpr char kCutsOff[] = "cuts off";

Operation Saturation(double amount) {
    const ColorMatrix matrix = SaturationMatrix(amount);
    const MakeFilter ours = Ours<zpixf::ZPixfSaturation>([=](auto& filter) { filter.SetSaturation(amount); });
    return {"saturation",
            WholeAndPiece(),
            ours,
            {{.name = "OpenCV transform", .enter = openCv::Transform(matrix)},
             {.name = "libyuv ColorMatrix", .enter = yuv::Transform(matrix), .otherwise = "factors of 7 bits"},
             {.name = "libvips recomb", .enter = vips::Recombine(matrix), .otherwise = kCutsOff},
             {.name = "Pillow Color", .pillowJob = "color:" + Listed(std::vector{amount})}},
            references::Saturation(amount)};
}

Operation Desaturation() {
    return {"desaturate",
            WholeAndPiece(),
            Ours<zpixf::ZPixfDesaturate>(),
            {{.name = "libyuv ARGBGrayTo", .enter = yuv::GrayTo()},
             {.name = "OpenCV 2 x cvtColor", .enter = openCv::GreyAndBack()},
             {.name = "libvips recomb", .enter = vips::Recombine(SaturationMatrix(0)), .otherwise = kCutsOff},
             {.name = "Pillow Color", .pillowJob = "color:0"}},
            references::Desaturation};
}

// Neighbourhoods

template <class Convolution>
MakeFilter OurConvolution(const Kernel& kernel) {
    return Ours<Convolution>([=](auto& filter) { filter.SetUserConvolution(kernel.factors.data(), 1, 0); });
}

Operation Convolution(std::string name, const Kernel& kernel) {
    return {std::move(name),
            WholeAndPiece(),
            kernel.side == 3 ? OurConvolution<zpixf::ZPixfConvolution3>(kernel)
                             : OurConvolution<zpixf::ZPixfConvolution5>(kernel),
            {{.name = "OpenCV filter2D", .enter = openCv::Filter2D(kernel)},
             {.name = "libvips float", .enter = vips::Convolve(kernel, VIPS_PRECISION_FLOAT)},
             {.name = "libvips integer",
              .enter = vips::Convolve(kernel, VIPS_PRECISION_INTEGER),
              .otherwise = kernel.IsWhole() ? "" : "factors in 256ths"},
             {.name = "Pillow Kernel", .pillowJob = "convolve:" + Listed(kernel.factors)}},
            references::Convolution(kernel)};
}

Kernel WithSumOne(Kernel kernel) {
    const double sum = std::accumulate(kernel.factors.begin(), kernel.factors.end(), 0.0);
    for (double& factor : kernel.factors) factor /= sum;
    return kernel;
}

/// No factors of this one have a common denominator.
Kernel GeneralKernel(int side) {
    Kernel kernel{side, {}};
    for (int i = 0; i < side * side; ++i) kernel.factors.push_back(0.6 + std::sin(1.7 * i));
    return WithSumOne(kernel);
}

Kernel KernelOfHundredths() { return {3, {0.07, 0.11, -0.03, 0.13, 0.45, 0.09, 0.02, 0.05, 0.11}}; }

Kernel KernelOfFractions() {
    Kernel kernel{5, {}};
    for (int i = 0; i < 25; ++i) kernel.factors.push_back(i == 3 ? -1 : 3 + i * 7 % 11);
    return WithSumOne(kernel);
}

Kernel SharpeningKernel() { return {3, {0, -1, 0, -1, 5, -1, 0, -1, 0}}; }

MakeFilter OurMedian(unsigned span) {
    return Ours<zpixf::ZPixfMedian>([=](auto& filter) { filter.SetSpan(span); });
}

Operation Median(int span) {
    const std::string width = std::to_string(span);
    return {"median " + width,
            WholeAndPiece(),
            OurMedian(static_cast<unsigned>(span)),
            {{.name = "OpenCV medianBlur", .enter = openCv::MedianBlur(span)},
             {.name = "Pillow MedianFilter", .pillowJob = "median:" + width, .largest = kPiece}}};
}

Operation FlatnessOfMedian() {
    Operation operation{"median 7 beside larger", {{kWhole, kWhole}}, OurMedian(7), {}};
    for (const unsigned span : {15U, 31U, 63U, 101U})
        operation.beside.push_back({.name = "ours, " + std::to_string(span),
                                    .enter = RunOurs(OurMedian(span), Lines::ofPictures),
                                    .isOurs = true});
    return operation;
}

// Resizing. "CMYK" is Pillow's mode of four plain channels; it would multiply the colours of RGBA with alpha first.

constexpr char kNoAntialiasing[] = "no antialiasing", kBox[] = "box kernel", kCorners[] = "other centres";

std::string PillowResize(int side, const char* method) { return "resize:" + std::to_string(side) + ":" + method; }

Operation Half() {
    return {.name = "half",
            .sizes = {{kWhole, kWhole / 2}, {kPiece, kPiece / 2}},
            .ours = Ours<zpixf::ZPixfResizeBilinear>(),
            .beside = {{.name = "libyuv bilinear", .enter = yuv::Scale(libyuv::kFilterBilinear)},
                       {.name = "libyuv box", .enter = yuv::Scale(libyuv::kFilterBox)},
                       {.name = "OpenCV AREA", .enter = openCv::Resize(cv::INTER_AREA)},
                       {.name = "OpenCV LINEAR", .enter = openCv::Resize(cv::INTER_LINEAR)},
                       {.name = "libvips shrink", .enter = vips::Shrink(2)},
                       {.name = "Pillow reduce", .pillowJob = "reduce:2"},
                       {.name = "Pillow BOX", .pillowJob = "halve:BOX"}},
            .reference = references::Half,
            .isPyramid = true};
}

constexpr Size kDown{kWhole, 1531}, kUp{1024, kWhole};

Operation BilinearDown() {
    return {"bilinear down",
            {kDown},
            Ours<zpixf::ZPixfResizeBilinear>(),
            {{.name = "libvips linear", .enter = vips::Resize(VIPS_KERNEL_LINEAR)},
             {.name = "Pillow BILINEAR", .pillowJob = PillowResize(kDown.to, "BILINEAR")},
             {.name = "libyuv bilinear", .enter = yuv::Scale(libyuv::kFilterBilinear), .otherwise = kNoAntialiasing},
             {.name = "OpenCV LINEAR", .enter = openCv::Resize(cv::INTER_LINEAR), .otherwise = kNoAntialiasing},
             {.name = "libyuv box", .enter = yuv::Scale(libyuv::kFilterBox), .otherwise = kBox},
             {.name = "OpenCV AREA", .enter = openCv::Resize(cv::INTER_AREA), .otherwise = kBox}}};
}

Operation BicubicDown() {
    return {"bicubic down",
            {kDown},
            Ours<zpixf::ZPixfResizeBicubic>(),
            {{.name = "libvips cubic", .enter = vips::Resize(VIPS_KERNEL_CUBIC)},
             {.name = "Pillow BICUBIC", .pillowJob = PillowResize(kDown.to, "BICUBIC")},
             {.name = "OpenCV CUBIC", .enter = openCv::Resize(cv::INTER_CUBIC), .otherwise = kNoAntialiasing}}};
}

Operation BicubicUp() {
    return {"bicubic up",
            {kUp},
            Ours<zpixf::ZPixfResizeBicubic>(),
            {{.name = "OpenCV CUBIC", .enter = openCv::Resize(cv::INTER_CUBIC), .otherwise = "a sharper cubic"},
             {.name = "libvips bicubic", .enter = vips::Enlarge("bicubic")},
             {.name = "Pillow BICUBIC", .pillowJob = PillowResize(kUp.to, "BICUBIC")}}};
}

Operation Nearest(std::string name, Size size) {
    return {std::move(name),
            {size},
            Ours<zpixf::ZPixfResize>(),
            {{.name = "libyuv none", .enter = yuv::Scale(libyuv::kFilterNone)},
             {.name = "OpenCV NEAREST_EXACT", .enter = openCv::Resize(cv::INTER_NEAREST_EXACT)},
             {.name = "OpenCV NEAREST", .enter = openCv::Resize(cv::INTER_NEAREST), .otherwise = kCorners},
             {.name = "libvips nearest", .enter = vips::Resize(VIPS_KERNEL_NEAREST)},
             {.name = "Pillow NEAREST", .pillowJob = PillowResize(size.to, "NEAREST")}},
            references::Nearest};
}

}  // namespace

std::vector<Operation> Operations() {
    return {
        Brightness(0.3),
        Contrast(0.2),
        Saturation(0.5),
        Desaturation(),
        Convolution("convolve 3x3", GeneralKernel(3)),
        Convolution("convolve 3x3 hundredths", KernelOfHundredths()),
        Convolution("sharpen 3x3", SharpeningKernel()),
        Convolution("convolve 5x5", GeneralKernel(5)),
        Convolution("convolve 5x5 fractions", KernelOfFractions()),
        Median(3),
        Median(5),
        Median(15),
        FlatnessOfMedian(),
        Half(),
        BilinearDown(),
        BicubicDown(),
        BicubicUp(),
        Nearest("nearest down", kDown),
        Nearest("nearest up", kUp),
    };
}

}  // namespace contest::filters
