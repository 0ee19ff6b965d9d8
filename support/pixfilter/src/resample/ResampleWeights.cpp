#include "resample/ResampleWeights.h"

#include <algorithm>
#include <bit>
#include <numeric>

namespace zpixf {
namespace {

// Kernels are evaluated in fixed point with this many bits behind the point.
constexpr unsigned kPointBits = 28;
constexpr std::int64_t kOne = std::int64_t{1} << kPointBits;
// No kernel, as scaled here, exceeds 2^kKernelBits.
constexpr unsigned kKernelBits = kPointBits + 5;
// All sums of a kernel's values stay below 2^kSumBits, so that 2^19 times a sum fits 64 bits.
constexpr unsigned kSumBits = 42;

constexpr unsigned kLeastBits = 15, kMostBits = 18;

std::int64_t Times(std::int64_t a, std::int64_t b) { return (a * b) >> kPointBits; }

/// a t^3 + b t^2 + c t + d.
std::int64_t Cubic(std::int64_t t, int a, int b, int c, int d) {
    return Times(Times(Times(a * kOne, t) + b * kOne, t) + c * kOne, t) + d * kOne;
}

// The kernels, times 1, 1, 2, 18 and 6: only the ratio of weights matters.
std::int64_t Evaluate(ResampleKernel kernel, std::int64_t t) {
    const bool isNear = t < kOne;
    switch (kernel) {
        case ResampleKernel::box: return kOne;
        case ResampleKernel::triangle: return kOne - t;
        case ResampleKernel::catmullRom: return isNear ? Cubic(t, 3, -5, 0, 2) : Cubic(t, -1, 5, -8, 4);
        case ResampleKernel::mitchell: return isNear ? Cubic(t, 21, -36, 0, 16) : Cubic(t, -7, 36, -60, 32);
        case ResampleKernel::bSpline: return isNear ? Cubic(t, 3, -6, 0, 4) : Cubic(t, -1, 6, -12, 8);
    }
    return 0;
}

std::int64_t FloorDivide(std::int64_t a, std::int64_t b) { return a / b - (a % b < 0 ? 1 : 0); }

}  // namespace

std::uint32_t PixelUnderCentre(std::uint32_t outputPixel, std::uint32_t input, std::uint32_t output,
                               std::int64_t* rest) {
    // (2 x + 1) * input / (2 * output), in pieces that fit 64 bits.
    const std::uint64_t corner = std::uint64_t{outputPixel} * input;
    const std::uint64_t beyond = 2 * (corner % output) + input;
    const std::uint64_t whole = corner / output + beyond / (2 * std::uint64_t{output});
    if (rest != nullptr) *rest = static_cast<std::int64_t>(beyond % (2 * std::uint64_t{output}));
    return static_cast<std::uint32_t>(whole);
}

ResampleWeights::ResampleWeights(ResampleKernel newKernel, unsigned newInput, unsigned newOutput)
    : kernel(newKernel), input(newInput), output(newOutput) {
    const auto log2Ratio = static_cast<unsigned>(std::bit_width(std::max(input / output, 1u))) - 1;
    bits = std::min(kLeastBits + log2Ratio, kMostBits);
    step = 2 * std::int64_t{output};
    unit = 2 * std::int64_t{std::max(input, output)};
    reach = kernel == ResampleKernel::box ? unit / 2 : kernel == ResampleKernel::triangle ? unit : 2 * unit;
}

unsigned ResampleWeights::MaxCount() const {
    return static_cast<unsigned>(std::min<std::int64_t>((2 * reach - 1) / step + 1, input));
}

unsigned ResampleWeights::Period() const { return output / std::gcd(input, output); }

ResampleWeights::Span ResampleWeights::SpanOf(unsigned outputPixel) const {
    std::int64_t rest = 0;
    const std::int64_t middle = PixelUnderCentre(outputPixel, input, output, &rest);
    const std::int64_t fromMiddle = rest - std::int64_t{output};  // a pixel's centre is half a step within it
    const std::int64_t lowest = middle + FloorDivide(fromMiddle - reach, step) + 1;
    const std::int64_t highest = middle - FloorDivide(-fromMiddle - reach, step) - 1;
    const std::int64_t first = std::max<std::int64_t>(lowest, 0);
    const std::int64_t last = std::min<std::int64_t>(highest, std::int64_t{input} - 1);
    return {static_cast<unsigned>(first), static_cast<unsigned>(last), lowest != first || highest != last,
            fromMiddle + (middle - first) * step};
}

ResampleWeights::Walk::Walk(const ResampleWeights& from, const Span& span) : weights(&from), distance(span.distance) {
    const auto countBits = static_cast<unsigned>(std::bit_width(span.Count()));
    if (countBits + kKernelBits > kSumBits) shift = countBits + kKernelBits - kSumBits;
    std::int64_t position = distance;
    for (unsigned left = span.Count(); left > 0; --left, position -= from.step) total += KernelAt(position);
}

std::int32_t ResampleWeights::Walk::Next() {
    running += KernelAt(distance);
    distance -= weights->step;
    const std::int64_t before = given;
    given = Rounded(running);
    return static_cast<std::int32_t>(given - before);
}

std::int64_t ResampleWeights::Walk::KernelAt(std::int64_t position) const {
    const std::int64_t t = ((position < 0 ? -position : position) << kPointBits) / weights->unit;
    const std::int64_t half = shift == 0 ? 0 : std::int64_t{1} << (shift - 1);
    return (Evaluate(weights->kernel, t) + half) >> shift;
}

// A part of the whole, to nearest. What is left over is rounded as the mirrored pixel rounds it: beyond the half, by
// the distance from the end.
std::int64_t ResampleWeights::Walk::Rounded(std::int64_t sum) const {
    const std::int64_t whole = std::int64_t{1} << weights->bits;
    if (2 * sum > total) return whole - Rounded(total - sum);
    return FloorDivide(2 * sum * whole + total, 2 * total);
}

}  // namespace zpixf
