// Frames of a window, drawn from a picture in memory: the work of whoever pans and zooms.
#include "operations/Draw.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <stdexcept>

#include "zbm/Drawing.h"
#include "zbm/ZBasicMemBitmap.h"

namespace contest {

namespace {

constexpr int kFrame = 1024;

Enter DrawOnPixels(const Drawn& drawn) {
    return [=](const Scene& scene) {
        const Square& source = scene.source;
        const auto bitmap = std::make_shared<zbm::ZBasicMemBitmap>(source.side, source.side, source.format);
        bitmap->StoreRegion(source.pixels.data(), source.stride, 0, 0, source.side, source.side);
        zbm::DrawOptions options;
        if (drawn.isNearest) options.enlarging = zbm::DrawOptions::Enlarging::nearest;
        const int side = scene.result.side;
        const zbm::PixelSurface surface{scene.result.pixels.data(), scene.result.stride, side, side,
                                        zbm::SurfaceLayout::bgrx};
        return Doing([=, from = double(source.side)] {
            if (!bitmap->DrawOnPixels(surface, {0, 0, side, side}, {0, 0, from, from}, options, nullptr))
                throw std::runtime_error("not drawn");
        });
    };
}

/// What of the source one place shows: pixels with weights.
struct Share {
    int first;
    std::vector<double> weights;
};
Share ShareOf(const Drawn& drawn, double zoom, int i, int length) {
    const double middle = (i + 0.5) * zoom;
    if (drawn.isNearest) return {static_cast<int>(middle), {1}};
    if (zoom < 1) {
        const double place = std::clamp(middle - 0.5, 0.0, length - 1.0), before = std::floor(place);
        if (before + 1 >= length) return {length - 1, {1}};
        return {static_cast<int>(before), {1 - (place - before), place - before}};
    }
    const double begin = i * zoom, end = begin + zoom;
    Share share{static_cast<int>(begin), {}};
    for (int x = share.first; x < end && x < length; ++x)
        share.weights.push_back((std::min(end, x + 1.0) - std::max(begin, double(x))) / zoom);
    return share;
}

/// Of every 7th pixel each way, at the scale that the sides make: 410 to 1024 is not quite 2 to 5.
Verdict HowFarFrom(const Drawn& drawn, const Entrant& who, const Scene& scene) {
    const double zoom = double(scene.source.side) / scene.result.side;
    double sum = 0, most = 0, count = 0;
    for (int y = 0; y < scene.result.side; y += 7)
        for (int x = 0; x < scene.result.side; x += 7) {
            const int side = scene.source.side;
            const Share across = ShareOf(drawn, zoom, x, side), down = ShareOf(drawn, zoom, y, side);
            for (int channel = 0; channel < 3; ++channel, ++count) {
                double expected = 0;
                for (std::size_t v = 0; v < down.weights.size(); ++v)
                    for (std::size_t u = 0; u < across.weights.size(); ++u)
                        expected +=
                            down.weights[v] * across.weights[u] *
                            scene.source.pixels[(std::size_t(down.first) + v) * std::size_t(scene.source.stride) +
                                                4 * (std::size_t(across.first) + u) + std::size_t(channel)];
                const double off =
                    std::abs(expected - scene.result.pixels[std::size_t(y) * std::size_t(scene.result.stride) +
                                                            std::size_t(4 * x + channel)]);
                sum += off;
                most = std::max(most, off);
            }
        }
    return {{{"max", most}, {"mean", sum / count}}, who.role != Role::ours || most <= 1.01};
}

}  // namespace

std::vector<Operation> Drawings(int) {
    std::vector<Operation> all;
    for (const Drawn& drawn : kDrawn)
        all.push_back({"draw",
                       drawn.name,
                       static_cast<int>(std::lround(kFrame * drawn.zoom)),
                       kFrame,
                       {{.name = "DrawOnPixels", .enter = DrawOnPixels(drawn), .role = Role::ours}},
                       [=](const Scene&) -> Judge {
                           return [=](const Entrant& who, const Scene& scene) { return HowFarFrom(drawn, who, scene); };
                       }});
    return all;
}

}  // namespace contest
