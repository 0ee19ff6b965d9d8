#pragma once
// The work per pixel of the filters of colour alone, compiled once per instruction-set level. Every level gives the
// same bytes. Pixels are B, G, R, A.
#include <cstddef>
#include <cstdint>

namespace zpixf {

/// A table of levels as arithmetic, for a look-up is slower than memory. Level c becomes
///
///     ((min(c, ceiling) * 256 + low) * factor >> 16, + raise, - lower, no further than 0 .. 65535) >> shift
///
/// and no more than 255. Before that last step it must not go beyond 32767.
struct LevelForm {
    std::uint8_t ceiling, low;
    std::uint16_t factor, raise, lower;
    unsigned shift;  ///< 0 to 8
};

// (static: a copy compiled for a wide level must not be taken for all.)
static constexpr std::uint32_t UncappedLevel(const LevelForm& form, unsigned level) {
    const std::uint32_t capped = level < form.ceiling ? level : form.ceiling;
    const std::uint32_t value = ((capped * 256 + form.low) * form.factor >> 16) + form.raise;
    const std::uint32_t raised = value < 65535 ? value : 65535;
    return (raised > form.lower ? raised - form.lower : 0) >> form.shift;
}
static constexpr std::uint8_t ApplyLevelForm(const LevelForm& form, unsigned level) {
    const std::uint32_t value = UncappedLevel(form, level);
    return static_cast<std::uint8_t>(value < 255 ? value : 255);
}

/// The amount of saturation is a multiple of 1 / kSaturationOne.
constexpr unsigned kSaturationBits = 14;
constexpr int kSaturationOne = 1 << kSaturationBits;

/// What is changed: pixels where they lie, or pixels on their way to others, which do not overlap them.
struct AdjustedPixels {
    const std::uint8_t* from;
    std::uint8_t* to;
    std::size_t count;
    bool pastCaches;  ///< how to write
};

struct AdjustKernels {
    void (*mapLevels)(const LevelForm& form, const AdjustedPixels& pixels);
    /// `amount`: -kSaturationOne to kSaturationOne.
    void (*saturate)(int amount, const AdjustedPixels& pixels);
    void (*desaturate)(const AdjustedPixels& pixels);
};

extern const AdjustKernels kBaseAdjustKernels;
extern const AdjustKernels kAvx2AdjustKernels;
extern const AdjustKernels kAvx512AdjustKernels;

/// The kernels in use, chosen once per process.
const AdjustKernels& ActiveAdjustKernels() noexcept;

}  // namespace zpixf
