// Picking and mixing in plain words, for any processor.

namespace zpixf {
namespace {

void Pick(const uint8_t* pixels, int32_t origin, const uint32_t* columns, size_t count, uint8_t* out) {
    PickFrom(0, pixels, origin, columns, count, out);
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
