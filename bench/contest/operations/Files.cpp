// All levels of a picture in a file. What rivals have that do the same for viewers of large pictures is a pyramid, in
// which the picture stands once more.
#include "operations/Files.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "harness/Files.h"

namespace contest {

namespace {

/// The second level, side / 4.
constexpr int kShown = 4;

Entry OurLevels(const Scene& scene) {
    struct Work {
        bench::ScratchFile file{"_ours"};
        zbm::ZScanRectFileBitmap bitmap{L"", L"", false};
    };
    const auto work = std::make_shared<Work>();
    const Square& source = scene.source;
    work->bitmap.CreateEmpty(work->file.Name(), source.side, source.side, source.format);
    for (int y = 0; y < source.side; y += bench::kTileSide)
        work->bitmap.StoreRegion(&source.pixels[std::size_t(y) * std::size_t(source.stride)], source.stride, 0, y,
                                 source.side, bench::kTileSide);
    return {bench::Timed([work] {
                work->bitmap.Close();
                bench::ForgetLevels(work->file);
                work->bitmap.Open(work->file.Name(), false);
                bench::Keep(work->bitmap.CommitAll(nullptr, true));
            }),
            [work, &to = scene.result] {
                work->bitmap.GetPtrToPOTReduction(2)->FetchRegion(to.pixels.data(), to.stride, 0, 0, to.side, to.side);
            }};
}

/// Each byte of the average of 4 x 4 pixels, rounded.
int Averaged(const Square& source, int x, int y, int channel) {
    int sum = kShown * kShown / 2;
    for (int v = kShown * y; v < kShown * (y + 1); ++v)
        for (int u = kShown * x; u < kShown * (x + 1); ++u)
            sum += source.pixels[std::size_t(v) * std::size_t(source.stride) + std::size_t(4 * u + channel)];
    return sum / (kShown * kShown);
}

Verdict HowFarFromAverages(const Entrant& who, const Scene& scene) {
    double sum = 0;
    int most = 0;
    for (int y = 0; y < scene.result.side; ++y)
        for (int x = 0; x < scene.result.side; ++x)
            for (int channel = 0; channel < 4; ++channel) {
                const std::size_t at = std::size_t(y) * std::size_t(scene.result.stride) + std::size_t(4 * x + channel);
                const int off = std::abs(scene.result.pixels[at] - Averaged(scene.source, x, y, channel));
                sum += off;
                most = std::max(most, off);
            }
    const double mean = sum / static_cast<double>(scene.result.pixels.size());
    return {{{"max", double(most)}, {"mean", mean}}, who.role != Role::ours || most <= 1};
}

}  // namespace

std::vector<Operation> Files(int side) {
    const int large = 4 * side;
    return {{"file",
             kLevels,
             large,
             large / kShown,
             {{.name = "ZScanRectFileBitmap", .enter = OurLevels, .role = Role::ours}},
             [](const Scene&) { return HowFarFromAverages; }}};
}

}  // namespace contest
