// Filters, each alone on pictures in memory: ours as bitmaps use them, the others as they take whole pictures.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

#include "Contest.h"
#include "harness/FilterRun.h"
#include "harness/Statistics.h"
#include "operations/FilterReferences.h"
#include "shr/CopyPixelRows.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zpixf/ZPixfAdjust.h"
#include "zpixf/ZPixfConvolution.h"
#include "zpixf/ZPixfMedian.h"
#include "zpixf/ZPixfResize.h"

namespace contest {

namespace {

using MakeFilter = std::function<std::unique_ptr<zpixf::ZPixFilterBase>()>;

/// Makes a filter and sets it up.
template <class Filter, class SetUp>
MakeFilter Made(const SetUp& setUp) {
    return [=]() -> std::unique_ptr<zpixf::ZPixFilterBase> {
        auto filter = std::make_unique<Filter>();
        setUp(*filter);
        return filter;
    };
}
template <class Filter>
MakeFilter Made() {
    return Made<Filter>([](Filter&) {});
}

constexpr int kAllLines = 0, kLinesInCache = 16;

/// A pass down the picture, Start and Stop included. With fewer than all lines of the source, these stand for all of
/// them, and one takes all of the result.
Enter Passing(const MakeFilter& make, int lines) {
    return [=](const Scene& scene) -> Entry {
        return Doing([=, &source = scene.source, &result = scene.result] {
            const auto filter = make();
            bench::LineSource reader{source.pixels.data(), source.side,
                                     static_cast<unsigned>(lines == kAllLines ? source.side : lines)};
            Start(*filter, reader, bench::BgraFormat(source.side, source.side),
                  bench::BgraFormat(result.side, result.side));
            bench::PullLines(*filter, result.side, result.pixels.data(), lines == kAllLines ? result.stride : 0);
            filter->Stop();
        });
    };
}

/// A filter of single pixels without lines.
Enter ChangingPixels(const MakeFilter& make) {
    return [=](const Scene& scene) -> Entry {
        return Doing([=, &source = scene.source, &result = scene.result] {
            const auto filter = make();
            bench::LineSource none{source.pixels.data(), source.side, 0};
            const zpixf::ZPixFormat format = bench::BgraFormat(source.side, source.side);
            Start(*filter, none, format, format);
            const bool isLarge = source.pixels.size() > std::size_t{32} << 20;
            const auto writes = isLarge ? shr::CopyWrites::streamed : shr::CopyWrites::cached;
            if (!filter->AsPointwise()->CopyChanged(source.pixels.data(), result.pixels.data(), source.PixelCount(),
                                                    writes))
                throw std::runtime_error("a filter does not copy");
            filter->Stop();
        });
    };
}

/// From a bitmap into another whose memory is there.
Enter Creating(zbm::ResizeMethod method) {
    return [=](const Scene& scene) -> Entry {
        const int side = scene.source.side, resultSide = scene.result.side;
        const auto from = std::make_shared<zbm::ZBasicMemBitmap>(side, side, shr::BGRA_32);
        const auto to = std::make_shared<zbm::ZBasicMemBitmap>(resultSide, resultSide, shr::BGRA_32);
        from->StoreRegion(scene.source.pixels.data(), scene.source.stride, 0, 0, side, side);
        const RECT whole{0, 0, side, side};
        return {bench::Timed([=] {
                    if (!to->Create(resultSide, resultSide, *from, whole, method, nullptr))
                        throw std::runtime_error("not created");
                }),
                [=, &result = scene.result] {
                    to->FetchRegion(result.pixels.data(), result.stride, 0, 0, resultSide, resultSide);
                }};
    };
}

Entrant Shown(const std::string& name, const MakeFilter& make, int lines) {
    return {.name = name, .enter = Passing(make, lines), .role = Role::beside};
}

/// What a pyramid of halvings down to 16 x 16 does to the mean.
double DriftOfPyramid(const Entrant& who, const Square& picture) {
    Square level = picture;
    while (level.side > 16) {
        Square next(shr::BGRA_32, level.side / 2);
        std::size_t unused = 0;
        const Entry entry = who.enter({level, next, unused});
        entry.run(1);
        entry.bring();
        level = std::move(next);
    }
    return bench::Drift(picture.pixels, level.pixels);
}

/// Libraries differ in what they think lies beyond a border: so many pixels there are left out.
constexpr int kBorder = 8;

enum class Pyramid { none, ofHalvings };

/// Ours is compared with the plain loops, if there are any, and must equal them; rivals with ours.
std::function<Judge(const Scene&)> By(const Reference& reference, Pyramid pyramid) {
    return [=](const Scene&) -> Judge {
        const auto ours = std::make_shared<Pixels>();
        return [=](const Entrant& who, const Scene& scene) {
            const bool isOurs = who.role == Role::ours;
            Square expected = scene.result;
            if (isOurs) *ours = scene.result.pixels;
            if (isOurs && reference) reference(scene.source, expected);
            const bench::Difference difference = DifferenceWithin(scene.result.pixels, isOurs ? expected.pixels : *ours,
                                                                  scene.result.side, isOurs ? 0 : kBorder);
            Verdict verdict{{}, !isOurs || difference.max == 0};
            if (!isOurs || reference) verdict.figures = {{"max", double(difference.max)}, {"mean", difference.mean}};
            if (pyramid == Pyramid::ofHalvings) {
                const double drift = DriftOfPyramid(who, scene.source);
                verdict.figures.push_back({"drift", drift});
                verdict.isRight = verdict.isRight && (!isOurs || std::abs(drift) <= 0.5);
            }
            return verdict;
        };
    };
}

Operation Filter(const std::string& name, int from, int to, const MakeFilter& make, const Reference& reference = {},
                 Pyramid pyramid = Pyramid::none) {
    return {"filter",
            name,
            from,
            to,
            {{.name = "ours", .enter = Passing(make, kAllLines), .role = Role::ours},
             Shown("ours, in cache", make, kLinesInCache)},
            By(reference, pyramid)};
}

/// What bitmaps do without lines, with the way line by line beside it.
Operation WithoutLines(Operation operation, const Enter& enter) {
    Entrant& lines = operation.ours.front();
    Entrant whole = lines;
    whole.enter = enter;
    lines.name = "ours, line by line";
    lines.role = Role::beside;
    operation.ours.insert(operation.ours.begin(), whole);
    return operation;
}

Operation OfSinglePixels(const std::string& name, int side, const MakeFilter& make, const Reference& reference) {
    return WithoutLines(Filter(name, side, side, make, reference), ChangingPixels(make));
}

MakeFilter Convolution(const Kernel& kernel) {
    const auto setUp = [=](auto& filter) { filter.SetUserConvolution(kernel.factors.data(), 1, 0); };
    return kernel.side == 3 ? Made<zpixf::ZPixfConvolution3>(setUp) : Made<zpixf::ZPixfConvolution5>(setUp);
}

MakeFilter Median(int span) {
    return Made<zpixf::ZPixfMedian>([=](auto& filter) { filter.SetSpan(static_cast<unsigned>(span)); });
}

/// Of all that keep the size.
std::vector<Operation> SameSize(int side) {
    std::vector<Operation> operations = {
        OfSinglePixels("brightness", side,
                       Made<zpixf::ZPixfBrightness>([](auto& filter) { filter.SetBrightness(Brightness().amount); }),
                       references::Levels(Brightness())),
        OfSinglePixels("contrast", side,
                       Made<zpixf::ZPixfContrast>([](auto& filter) { filter.SetContrast(Contrast().amount); }),
                       references::Levels(Contrast())),
        OfSinglePixels("saturation", side,
                       Made<zpixf::ZPixfSaturation>([](auto& filter) { filter.SetSaturation(kSaturation); }),
                       references::Saturation(kSaturation)),
        OfSinglePixels("desaturate", side, Made<zpixf::ZPixfDesaturate>(), references::Desaturation),
    };
    for (const Kernel& kernel : Kernels())
        operations.push_back(
            Filter(kernel.operation, side, side, Convolution(kernel), references::Convolution(kernel)));
    for (const int span : kMedianSpans) operations.push_back(Filter(MedianOf(span), side, side, Median(span)));
    return operations;
}

Operation FlatnessOfMedian(int side) {
    Operation operation = Filter("median 7 beside larger", side, side, Median(7));
    for (const int span : {15, 31, 63, 101})
        operation.ours.push_back(Shown("ours, " + std::to_string(span), Median(span), kAllLines));
    return operation;
}

}  // namespace

std::vector<Operation> Filters(int side) {
    const int piece = bench::kTileSide, down = side * 1531 / 4096, few = side / 4;
    const MakeFilter bilinear = Made<zpixf::ZPixfResizeBilinear>(), bicubic = Made<zpixf::ZPixfResizeBicubic>();
    const MakeFilter nearest = Made<zpixf::ZPixfResize>();
    const Enter created = Creating(zbm::ResizeBilinear);
    std::vector<Operation> operations = SameSize(side);
    for (Operation& operation : SameSize(piece)) operations.push_back(std::move(operation));
    operations.insert(
        operations.end(),
        {FlatnessOfMedian(side),
         WithoutLines(Filter("half", side, side / 2, bilinear, references::Half, Pyramid::ofHalvings), created),
         WithoutLines(Filter("half", piece, piece / 2, bilinear, references::Half), created),
         Filter("bilinear down", side, down, bilinear), Filter("bicubic down", side, down, bicubic),
         Filter("bicubic up", few, side, bicubic),
         WithoutLines(Filter("nearest down", side, down, nearest, references::Nearest), Creating(zbm::ResizePlain)),
         WithoutLines(Filter("nearest up", few, side, nearest, references::Nearest), Creating(zbm::ResizePlain))});
    return operations;
}

}  // namespace contest
