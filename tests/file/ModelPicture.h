#pragma once
// What a bitmap should hold, as one block of rows: the judge of all classes of bitmaps. Nothing here knows of tiles,
// files or lines that are pulled through a chain: what a filter does is done to the whole picture at one go.
#include <cmath>
#include <memory>
#include <vector>

#include "filter/FlatPicture.h"
#include "filter/RandomChange.h"

namespace testkit {

/// In memory indices are chosen by a histogram of 5 bits a channel, in files by one of 8.
enum class Family { inMemory, inFile };

struct ModelPicture {
    FlatPicture flat;
    int tileWidth, tileHeight, xResolution, yResolution;
};

/// All zero, opaque, and taken for 6 inches along the longer side.
inline ModelPicture NewModel(int width, int height, ColorFormat format, int tileWidth = 512, int tileHeight = 512) {
    constexpr double kInchesPerMeter = 1 / 0.0254;
    ModelPicture made{{width, height, format}, tileWidth, tileHeight, 0, 0};
    if (HasMask(format)) made.flat.opaque.assign(made.flat.Index(0, height), true);
    made.flat.numColors = static_cast<unsigned>(TableSize(format));
    made.xResolution = made.yResolution =
        static_cast<int>(std::floor(std::max(width, height) / 6.0 * kInchesPerMeter + 0.5));
    return made;
}

inline FlatPicture FilteredBy(zpixf::ZPixFilterBase& filter, const FlatPicture& source, const FlatPicture& former,
                              Family family) {
    return family == Family::inMemory ? FilteredWhole<zpixf::ZPixfQuantizeMedian5>(filter, source, former)
                                      : FilteredWhole<zpixf::ZPixfQuantizeMedian8>(filter, source, former);
}

/// The source through a filter into a new picture with the source's resolution.
inline ModelPicture MadeBy(zpixf::ZPixFilterBase& filter, const ModelPicture& source, const FlatPicture& part,
                           const FlatPicture& former, Family family) {
    return {FilteredBy(filter, part, former, family), 512, 512, source.xResolution, source.yResolution};
}

inline ModelPicture InFormat(const ModelPicture& source, ColorFormat format, Family family) {
    if (format == source.flat.format) return source;
    zpixf::ZPixfNull handThrough;
    return MadeBy(handThrough, source, source.flat, NewModel(source.flat.width, source.flat.height, format).flat,
                  family);
}

inline FlatPicture PartOf(const FlatPicture& picture, const RECT& part) {
    const int left = static_cast<int>(part.left), top = static_cast<int>(part.top);
    FlatPicture cut(static_cast<int>(part.right) - left, static_cast<int>(part.bottom) - top, picture.format);
    for (int y = 0; y < cut.height; ++y)
        for (int x = 0; x < cut.width; ++x) {
            SetPixelAt(cut.Row(y), x, cut.format, PixelAt(picture.Row(top + y), left + x, cut.format));
            if (HasMask(cut.format)) cut.opaque.push_back(picture.opaque[picture.Index(left + x, top + y)]);
        }
    cut.colors = picture.colors;
    cut.numColors = picture.numColors;
    return cut;
}

inline ModelPicture AtSize(const ModelPicture& source, const RECT& part, int width, int height, int method,
                           Family family) {
    return MadeBy(*MakeResizing(method), source, PartOf(source.flat, part),
                  NewModel(width, height, source.flat.format).flat, family);
}

/// Each half of the one before, the first of the picture, in true colours.
inline std::vector<ModelPicture> ReductionsOf(const ModelPicture& picture, Family family) {
    const bool isIndexed = TableSize(picture.flat.format) > 0;
    std::vector<ModelPicture> levels;
    ModelPicture source = isIndexed ? InFormat(picture, shr::BGRA_32, family) : picture;
    while (source.flat.width / 2 > 16 && source.flat.height / 2 > 16) {
        const RECT whole{0, 0, source.flat.width, source.flat.height};
        source = AtSize(source, whole, source.flat.width / 2, source.flat.height / 2, zbm::ResizeBilinear, family);
        levels.push_back(source);
    }
    return levels;
}

inline testing::AssertionResult AreAlike(const ModelPicture& picture, const ModelPicture& expected) {
    const auto details = [](const ModelPicture& model) {
        return std::vector<int>{model.tileWidth, model.tileHeight, model.xResolution, model.yResolution};
    };
    if (details(picture) != details(expected))
        return testing::AssertionFailure()
               << "tiles of " << picture.tileWidth << " x " << picture.tileHeight << ", resolution "
               << picture.xResolution << " x " << picture.yResolution << ", not " << expected.tileWidth << " x "
               << expected.tileHeight << ", " << expected.xResolution << " x " << expected.yResolution;
    return AreAlike(picture.flat, expected.flat);
}

/// What a bitmap holds.
inline ModelPicture Found(const zbm::ZBitmap& bitmap) {
    return {Flattened(bitmap), bitmap.GetScanRectWidth(), bitmap.GetScanRectHeight(), bitmap.GetXResolution(),
            bitmap.GetYResolution()};
}

}  // namespace testkit
