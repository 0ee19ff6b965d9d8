// Halving and the sums down the picture in plain words, for any processor.

namespace zpixf {
namespace {

bool IsOpaque(const uint8_t* pixels, size_t count) { return IsOpaqueFrom(0, pixels, count); }

/// (Fetches nothing.)
template <bool>
void HalveLine(const uint8_t* upper, std::ptrdiff_t stride, size_t count, bool roundsUp, uint8_t* out) {
    constexpr size_t kRun = 64;  // of even length, that halves go on as they began
    for (size_t x = 0; x < count; x += kRun) {
        const size_t run = count - x < kRun ? count - x : kRun;
        HalveSome(upper + 8 * x, upper + stride + 8 * x, run, roundsUp, out + 4 * x);
    }
}

void SumPlain(const ResampleTap* taps, size_t tapCount, size_t first, size_t count, double* sums) {
    constexpr size_t kRun = kChannels * ResampleKernels::kGroup;
    for (size_t i = kChannels * first; i < kChannels * (first + count); i += kRun, sums += kRun) {
        int32_t run[kRun] = {};
        for (size_t tap = 0; tap < tapCount; ++tap) {
            const uint8_t* bytes = taps[tap].line + i;
            // (As 16 bits each the factors meet an instruction that every x86-64 has.)
            const auto weight = static_cast<std::int16_t>(taps[tap].weight);
            for (size_t j = 0; j < kRun; ++j) run[j] += std::int16_t{bytes[j]} * weight;
        }
        for (size_t j = 0; j < kRun; ++j) sums[j] = run[j];
    }
}

void SumWeighted(const ResampleTap* taps, size_t tapCount, size_t first, size_t count, double* sums) {
    for (size_t x = first; x < first + count; ++x, sums += kChannels) {
        double pixel[kChannels] = {};
        for (size_t tap = 0; tap < tapCount; ++tap) {
            const uint8_t* bytes = taps[tap].line + kChannels * x;
            const int32_t alpha = bytes[kAlpha];
            const double weight = taps[tap].weight;
            for (size_t c = 0; c < kAlpha; ++c) pixel[c] += weight * (bytes[c] * alpha);
            pixel[kAlpha] += weight * alpha;
        }
        for (size_t c = 0; c < kChannels; ++c) sums[c] = pixel[c];
    }
}

}  // namespace
}  // namespace zpixf
