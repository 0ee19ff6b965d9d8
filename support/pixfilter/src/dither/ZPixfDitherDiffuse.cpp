// Floyd and Steinberg's error diffusion to any palette, in alternate directions.
//
// All sums are in sixteenths of a level. What a pixel passes on are four whole parts that add up to its error, and what
// would fall beside the picture goes to the pixel below instead: no error is lost but in transparent pixels, below
// the last line, and by the clamp.
#include <algorithm>
#include <array>
#include <cstdlib>
#include <memory>

#include "dither/DitherKernels.h"
#include "dither/ZPixfDitherExact.h"
#include "dither/ZPixfDitherLines.h"
#include "zpixf/ZPixfDither.h"

namespace zpixf {
namespace {

constexpr int kOne = 16;  // a level

/// B, G and R of a colour or error, in sixteenths of a level. (All three in one vector register were no quicker: the
/// chain of steps from a pixel to the next is what takes the time, and gets longer by taking the lanes apart.)
struct Channels {
    std::int32_t lanes[3];
    std::int32_t operator[](unsigned lane) const { return lanes[lane]; }
};

template <class Operation>
Channels Each(Operation operation) {
    return {{operation(0), operation(1), operation(2)}};
}
Channels operator+(const Channels& a, const Channels& b) {
    return Each([&](unsigned i) { return a[i] + b[i]; });
}
Channels operator-(const Channels& a, const Channels& b) {
    return Each([&](unsigned i) { return a[i] - b[i]; });
}
Channels operator*(const Channels& a, std::int32_t factor) {
    return Each([&](unsigned i) { return a[i] * factor; });
}
Channels operator>>(const Channels& a, int bits) {
    return Each([&](unsigned i) { return a[i] >> bits; });
}
Channels LoadPixel(const std::uint8_t* pixel) {
    return Each([&](unsigned i) { return pixel[i] * kOne; });
}
Channels Clamp(const Channels& value, std::int32_t most) {
    return Each([&](unsigned i) { return std::clamp(value[i], -most, most); });
}

/// How many levels the errors may move a colour. Within the palette's convex hull they stay below about three times the
/// distance between neighbouring entries; the errors of colours that no mixture reaches, which would build up and then
/// be smeared over what follows, end there.
int MostError(const SearchPalette& palette) {
    constexpr int kLeast = 32, kMost = 256;
    int farthest = 0;
    for (unsigned i = 0; i < palette.count; ++i) {
        int nearest = kMost;
        for (unsigned j = 0; j < palette.count; ++j) {
            const int distance =
                std::max({std::abs(palette.blue[i] - palette.blue[j]), std::abs(palette.green[i] - palette.green[j]),
                          std::abs(palette.red[i] - palette.red[j])});
            if (distance != 0) nearest = std::min(nearest, distance);
        }
        farthest = std::max(farthest, nearest);
    }
    return std::clamp(3 * farthest, kLeast, kMost);
}

/// The entry near a colour, by a table of colours that is filled as it is used. The entry is that nearest to the middle
/// of the table's cell; error diffusion makes up for the difference.
class NearEntries {
public:
    NearEntries(const RGBQUAD* entries, unsigned numEntries);

    /// The most by which a colour may lie outside the cube, in levels.
    int Margin() const { return margin; }

    unsigned Find(const Channels& color) {
        const Channels cell = (color + origin) >> kCellShift;
        const auto at = static_cast<std::uint32_t>(cell[2] * side * side + cell[1] * side + cell[0]);
        const unsigned found = cells[at];
        return found != 0 ? found - 1 : Fill(static_cast<int>(at));
    }

private:
    static constexpr int kCellLevels = 8, kCellShift = 7;  // 8 levels of 16 sixteenths
    static_assert(kCellLevels * kOne == 1 << kCellShift);

    int Middle(int cell) const { return cell % side * kCellLevels + kCellLevels / 2 - margin; }
    unsigned Fill(int cell) {
        const unsigned entry = kernels.nearest(palette, Middle(cell), Middle(cell / side), Middle(cell / side / side));
        cells[static_cast<unsigned>(cell)] = static_cast<std::uint16_t>(entry + 1);
        return entry;
    }

    const DitherKernels& kernels = ActiveDitherKernels();
    SearchPalette palette{};
    int margin;
    int side;                                ///< cells along a channel
    Channels origin{};                       ///< what makes the least colour 0
    std::unique_ptr<std::uint16_t[]> cells;  ///< entry + 1; 0 while not known
};

NearEntries::NearEntries(const RGBQUAD* entries, unsigned numEntries) {
    palette.count = (numEntries + SearchPalette::kStep - 1) / SearchPalette::kStep * SearchPalette::kStep;
    for (unsigned i = 0; i < palette.count; ++i) {
        const RGBQUAD& entry = entries[i < numEntries ? i : 0];
        palette.blue[i] = entry.rgbBlue;
        palette.green[i] = entry.rgbGreen;
        palette.red[i] = entry.rgbRed;
        palette.squares[i] =
            palette.blue[i] * palette.blue[i] + palette.green[i] * palette.green[i] + palette.red[i] * palette.red[i];
    }
    margin = MostError(palette);
    side = (256 + 2 * margin) / kCellLevels + 1;
    origin = Channels{margin * kOne, margin * kOne, margin * kOne};
    const auto cellsASide = static_cast<std::size_t>(side);
    cells = std::make_unique<std::uint16_t[]>(cellsASide * cellsASide * cellsASide);
}

class DiffuseDitherer : public LineDitherer {
public:
    DiffuseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width);
    void Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) override;

private:
    template <int kStep>
    void DitherTowards(const std::uint8_t* pixels, std::uint8_t* indices);
    bool IsNearlyExact(const Channels& wanted, int exact) const;

    const ExactColors exactColors;
    NearEntries nearEntries;
    std::array<Channels, 256> entries{};
    const std::size_t width;
    const std::unique_ptr<Channels[]> errors;  ///< what the line before left to each pixel
    unsigned nextLine = 0;
};

DiffuseDitherer::DiffuseDitherer(const RGBQUAD* newEntries, unsigned numEntries, std::size_t newWidth)
    : exactColors(newEntries, numEntries),
      nearEntries(newEntries, numEntries),
      width(newWidth),
      errors(std::make_unique<Channels[]>(newWidth)) {
    std::transform(newEntries, newEntries + numEntries, entries.begin(), [](const RGBQUAD& c) {
        return Channels{c.rgbBlue * kOne, c.rgbGreen * kOne, c.rgbRed * kOne};
    });
}

void DiffuseDitherer::Dither(unsigned line, const std::uint8_t* pixels, std::uint8_t* indices) {
    if (line == 0 || line != nextLine) std::fill_n(errors.get(), width, Channels{});
    nextLine = line + 1;
    if (width == 0) return;
    if (line % 2 == 0)
        DitherTowards<1>(pixels, indices);
    else
        DitherTowards<-1>(pixels, indices);
}

/// Whether a pixel of a palette colour has no error to speak of: then it stays what it is, even if another entry is
/// close to it.
bool DiffuseDitherer::IsNearlyExact(const Channels& wanted, int exact) const {
    const Channels error = wanted - entries[static_cast<unsigned>(exact)];
    return std::max({std::abs(error[0]), std::abs(error[1]), std::abs(error[2])}) <= kOne / 2;
}

// Sums of the line below are written where those of this line have been read: one line of memory serves both.
template <int kStep>
void DiffuseDitherer::DitherTowards(const std::uint8_t* pixels, std::uint8_t* indices) {
    const auto count = static_cast<std::ptrdiff_t>(width);
    const std::ptrdiff_t first = kStep > 0 ? 0 : count - 1, last = count - 1 - first;
    const int most = nearEntries.Margin() * kOne;
    Channels* const sums = errors.get();
    Channels ahead{};           // for the next pixel of this line
    Channels behind{}, here{};  // for the pixels of the line below: that behind and that under the pixel, so far
    for (std::ptrdiff_t n = 0, x = first; n < count; ++n, x += kStep) {
        const std::uint8_t* pixel = pixels + 4 * x;
        const bool isOpaque = pixel[3] != 0;
        Channels wanted = LoadPixel(pixel);
        if (isOpaque) wanted = wanted + Clamp(ahead + sums[x], most);
        const int exact = exactColors.Find(PixelColor(pixel));
        const unsigned entry =
            exact >= 0 && IsNearlyExact(wanted, exact) ? static_cast<unsigned>(exact) : nearEntries.Find(wanted);
        indices[x] = static_cast<std::uint8_t>(entry);
        const Channels error = isOpaque ? wanted - entries[entry] : Channels{};
        const Channels threes = error * 3 >> 4, fives = error * 5 >> 4;
        if (n == 0)
            here = here + threes;
        else
            sums[x - kStep] = behind + threes;
        ahead = error * 7 >> 4;
        behind = here + fives;
        here = error - ahead - threes - fives;
    }
    sums[last] = behind + here + ahead;
}

}  // namespace

std::unique_ptr<LineDitherer> MakeDiffuseDitherer(const RGBQUAD* entries, unsigned numEntries, std::size_t width,
                                                  double) {
    return std::make_unique<DiffuseDitherer>(entries, numEntries, width);
}

ZPixfDitherDiffuse::ZPixfDitherDiffuse() = default;
ZPixfDitherDiffuse::~ZPixfDitherDiffuse() = default;

ZPixfType ZPixfDitherDiffuse::FilterType() const { return ZPixfType::DitherDiffuse; }

bool ZPixfDitherDiffuse::OnStart() { return StartWith(&MakeDiffuseDitherer); }

}  // namespace zpixf
