#pragma once
// The conversions of the contest, and how each library is driven to do them.
#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "Pictures.h"
#include "operations/ConvertRules.h"
#include "shr/ColorFormat.h"

namespace contest {

/// The pixels that an operation starts from.
struct Source {
    Pixels pixels;
    std::vector<shr::Color4b> table;
};

/// One operation at one size: where its pixels are and where they are to go.
struct Scene {
    shr::ColorFormat from, to;
    int side;
    const Source* source;
    std::uint8_t* result;

    std::size_t PixelCount() const { return static_cast<std::size_t>(side) * static_cast<std::size_t>(side); }
    int SourceStride() const { return side * shr::ColorFmtToBPP[from] / 8; }
    int ResultStride() const { return side * shr::ColorFmtToBPP[to] / 8; }
    std::size_t ResultBytes() const { return PixelCount() * static_cast<unsigned>(shr::ColorFmtToBPP[to]) / 8; }
    const std::uint8_t* SourcePixels() const { return source->pixels.data(); }
    const shr::Color4b* SourceTable() const { return source->table.empty() ? nullptr : source->table.data(); }
};

/// What a contestant does once for a result. It is made beforehand, with all that it needs.
using Job = std::function<void()>;
using Enter = std::function<Job(const Scene&)>;

struct Operation {
    const char* name;
    shr::ColorFormat from, to;
    Source (*makeSource)(const Pixels& bgra);
    Rule rule;
    Rule nearest{};                    ///< the rounded result, where ours is truncated; null if there is none
    Enter libyuv{}, openCv{}, babl{};  ///< empty where the library has no such operation
    const char* pillow;
};

const std::vector<Operation>& Operations();

/// The two that take part in every operation.
Job Ours(const Scene& scene);
Job CopyOfAsManyBytes(const Scene& scene);

}  // namespace contest
