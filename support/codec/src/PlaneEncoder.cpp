#include <cstring>

#include "PlaneTransform.h"

namespace zcdl {
namespace {

/// Beyond one sample in so many, escapes cost more time and room than the halved number of bytes saves.
constexpr std::uint64_t kSamplesPerEscape = 6;

}  // namespace

/// Where a row's bytes go on their way, and where the content has got to.
struct PlaneEncoder::Target {
    const PlaneKernels& kernels = ActiveKernels();
    std::size_t width = 0;
    /// Two rows of each plane in turns, with their margins. Words have theirs in the first plane's.
    std::uint8_t* samples[kMaxPlanes][2] = {};
    std::uint8_t* residuals[kMaxPlanes] = {};

    std::uint8_t* packed[kMaxPlanes] = {};
    std::uint8_t* rest = nullptr;
    /// Each plane's escapes have a place of their own until the transform is through and their number known.
    std::uint8_t* escapes[kMaxPlanes] = {};
    std::uint8_t* escapesNext[kMaxPlanes] = {};
    std::uint64_t escapesRoom[kMaxPlanes] = {};

    bool PredictBytes(const std::uint8_t* src, std::uint64_t row, PlaneLayout& layout);
    void PredictWords(const std::uint8_t* src, std::uint64_t row, const PlaneLayout& layout);
    bool Pack(PlaneLayout& layout);

    std::uint8_t* ResidualsOf(int plane, const PlaneLayout& layout) const noexcept {
        const bool direct = layout.planes[static_cast<std::size_t>(plane)].coding == Coding::bytes;
        return direct ? packed[plane] : residuals[plane];
    }
    bool HasRoom(int plane, std::uint64_t count) const noexcept {
        return count <= escapesRoom[plane] - static_cast<std::uint64_t>(escapesNext[plane] - escapes[plane]);
    }
};

void PlaneEncoder::Transform(const std::uint8_t* src, PlaneLayout& layout) {
    // Each failure turns a plane to whole bytes, which cannot fail.
    while (!TryTransform(src, layout)) continue;
}

bool PlaneEncoder::TryTransform(const std::uint8_t* src, PlaneLayout& layout) {
    Target target = Prepare(layout);
    const auto restBytes = static_cast<std::size_t>(layout.RowRestBytes());
    const std::uint64_t rowCount = layout.Rows();
    for (std::uint64_t row = 0; row < rowCount; ++row, src += layout.rowBytes) {
        if (layout.words) {
            target.PredictWords(src, row, layout);
        } else if (!target.PredictBytes(src, row, layout)) {
            return false;
        }
        if (!target.Pack(layout)) return false;
        std::memcpy(target.rest, src + layout.rowBytes - restBytes, restBytes);
        target.rest += restBytes;
    }
    const auto tailBytes = static_cast<std::size_t>(layout.byteCount % layout.rowBytes);
    std::memcpy(target.rest, src, tailBytes);

    std::uint8_t* next = target.rest + tailBytes;
    for (int p = 0; p < layout.shape.step; ++p) {
        const auto count = static_cast<std::size_t>(target.escapesNext[p] - target.escapes[p]);
        std::memmove(next, target.escapes[p], count);
        next += count;
        layout.planes[static_cast<std::size_t>(p)].escapeBytes = count;
    }
    return true;
}

PlaneEncoder::Target PlaneEncoder::Prepare(const PlaneLayout& layout) {
    Target target;
    target.width = static_cast<std::size_t>(layout.Width());
    const int planes = layout.shape.step;
    const std::uint64_t rowCount = layout.Rows();

    std::uint64_t contentRoom = layout.RestBytes();
    for (int p = 0; p < planes; ++p) {
        contentRoom += rowCount * layout.PackedRowBytes(p);
        if (!layout.HasEscapes(p)) continue;
        // Room for one more row, since it is looked for before each.
        target.escapesRoom[p] = (rowCount * 2 / kSamplesPerEscape + 2) * (target.width + 1);
        contentRoom += target.escapesRoom[p];
    }
    std::uint8_t* next = content.Reserve(contentRoom);
    for (int p = 0; p < planes; ++p) {
        target.packed[p] = next;
        next += rowCount * layout.PackedRowBytes(p);
    }
    target.rest = next;
    next += layout.RestBytes();
    for (int p = 0; p < planes; ++p) {
        target.escapes[p] = target.escapesNext[p] = next;
        next += target.escapesRoom[p];
    }

    const std::size_t sampleBytes = layout.words ? 2 : 1;
    const std::size_t marginBytes = kRowMargin * sampleBytes;
    const std::size_t rowBytes = target.width * sampleBytes + 2 * marginBytes;
    next = rows.Reserve(static_cast<std::uint64_t>(planes) * 3 * rowBytes);
    for (int p = 0; p < planes; ++p) {
        std::memset(next, 0, 2 * rowBytes);
        target.samples[p][0] = next + marginBytes;
        target.samples[p][1] = next + rowBytes + marginBytes;
        target.residuals[p] = next + 2 * rowBytes + marginBytes;
        next += 3 * rowBytes;
    }
    return target;
}

bool PlaneEncoder::Target::PredictBytes(const std::uint8_t* src, std::uint64_t row, PlaneLayout& layout) {
    std::uint8_t* current[kMaxPlanes] = {};
    for (int p = 0; p < kMaxPlanes; ++p) current[p] = samples[p][row % 2];
    kernels.split(src, width, layout.shape, current);
    for (int p = 0; p < layout.shape.step; ++p) {
        PlaneCode& plane = layout.planes[static_cast<std::size_t>(p)];
        if (plane.coding != Coding::constant) {
            kernels.predict(plane.predictor, current[p], samples[p][1 - row % 2], ResidualsOf(p, layout), width);
        } else if (!kernels.isConstant(current[p], width, plane.value)) {
            plane = {};
            return false;
        }
    }
    return true;
}

void PlaneEncoder::Target::PredictWords(const std::uint8_t* src, std::uint64_t row, const PlaneLayout& layout) {
    std::memcpy(samples[0][row % 2], src, 2 * width);
    kernels.predictWords(layout.planes[0].predictor, reinterpret_cast<const std::uint16_t*>(samples[0][row % 2]),
                         reinterpret_cast<const std::uint16_t*>(samples[0][1 - row % 2]), ResidualsOf(0, layout),
                         ResidualsOf(1, layout), width);
}

bool PlaneEncoder::Target::Pack(PlaneLayout& layout) {
    for (int p = 0; p < layout.shape.step; ++p) {
        PlaneCode& plane = layout.planes[static_cast<std::size_t>(p)];
        if (plane.coding == Coding::pairs) {
            if (!HasRoom(p, width + 1)) {
                plane.coding = Coding::bytes;
                return false;
            }
            escapesNext[p] = kernels.packPairs(residuals[p], width, packed[p], escapesNext[p]);
        } else if (plane.coding == Coding::joint && !layout.IsJointSecond(p)) {
            const int partner = layout.JointPartner(p);
            if (!HasRoom(p, 2 * width)) {
                plane.coding = layout.planes[static_cast<std::size_t>(partner)].coding = Coding::bytes;
                return false;
            }
            escapesNext[p] = kernels.packJoint(residuals[p], residuals[partner], width, packed[p], escapesNext[p]);
        }
        packed[p] += layout.PackedRowBytes(p);
    }
    return true;
}

}  // namespace zcdl
