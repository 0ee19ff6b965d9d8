#pragma once
#include <cstddef>

#include "resample/ResampleKernels.h"

namespace zpixf {

/// A list of up to `kLines` lines with their weights as the kernels take it: weights of 16 bits, and an even number.
template <std::size_t kLines>
class ResampleTaps {
public:
    void Clear() { count = 0; }
    /// A line is listed again for what its weight exceeds 16 bits by. All weights together are to stay, with their
    /// signs off, below 1.5 times 2^18.
    void Add(const std::uint8_t* line, std::int32_t weight) {
        for (; weight > kMostWeight; weight -= kMostWeight) taps[count++] = {line, kMostWeight};
        if (weight != 0 || count == 0) taps[count++] = {line, weight};
    }
    /// To be called when all are added.
    void Finish() {
        if (count % 2 == 0) return;
        taps[count] = {taps[0].line, 0};
        ++count;
    }
    const ResampleTap* Data() const { return taps; }
    std::size_t Count() const { return count; }

private:
    static constexpr std::int32_t kMostWeight = 32767;
    ResampleTap taps[kLines + (3 << 17) / kMostWeight + 1];
    std::size_t count = 0;
};

}  // namespace zpixf
