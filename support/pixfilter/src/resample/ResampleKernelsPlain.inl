// The loops of ResampleKernels.inl in plain words, for any processor.

namespace zpixf {
namespace {

bool IsOpaque(const uint8_t* pixels, size_t count) { return IsOpaqueFrom(0, pixels, count); }

void Pick(const uint8_t* pixels, int32_t origin, const uint32_t* columns, size_t count, uint8_t* out) {
    PickFrom(0, pixels, origin, columns, count, out);
}

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

void Mix(const ResampleColumns& columns, size_t x, const double* sums, size_t origin, double* mixed) {
    const double* pixel = sums + kChannels * (columns.columns[x].first - origin);
    const double* weights = columns.weights + columns.columns[x].weights;
    for (size_t c = 0; c < kChannels; ++c) mixed[c] = 0;
    for (size_t tap = 0; tap < columns.taps; ++tap, pixel += kChannels)
        for (size_t c = 0; c < kChannels; ++c) mixed[c] += weights[tap] * pixel[c];
}

uint8_t RoundedByte(double value) {
    value = value < 0 ? 0 : value > 255 ? 255 : value;
    value += 4503599627370496.0;  // 2^52, beside which a double has no place for less than 1: this rounds
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return static_cast<uint8_t>(bits);
}

void MixPlain(const ResampleColumns& columns, const double* sums, size_t origin, uint8_t* out) {
    for (size_t x = 0; x < columns.count; ++x) {
        double mixed[kChannels];
        Mix(columns, x, sums, origin, mixed);
        for (size_t c = 0; c < kChannels; ++c) out[kChannels * x + c] = RoundedByte(mixed[c] + TieBreaker(columns, x));
    }
}

bool MixWeighted(const ResampleColumns& columns, const double* sums, size_t origin, uint8_t* out, bool* isClear) {
    bool isAnyClear = false;
    for (size_t x = 0; x < columns.count; ++x) {
        double mixed[kChannels];
        Mix(columns, x, sums, origin, mixed);
        const double alpha = mixed[kAlpha];
        isClear[x] = !(alpha > 0);
        isAnyClear |= isClear[x];
        if (isClear[x]) {
            StorePixel(out + kChannels * x, 0);
            continue;
        }
        const double reciprocal = 1 / alpha;
        for (size_t c = 0; c < kAlpha; ++c)
            out[kChannels * x + c] = RoundedByte(mixed[c] * reciprocal + TieBreaker(columns, x));
        out[kChannels * x + kAlpha] = RoundedByte(alpha + TieBreaker(columns, x));
    }
    return isAnyClear;
}

}  // namespace
}  // namespace zpixf
