#include "palette/ColorHistogram.h"

#include <algorithm>

namespace zpixf {
namespace {

// A cell is a word of four fields of 16 bits: the count of its pixels in the highest, and the sums of what the cell's
// number does not tell of R, G and B. Before a field overflows, at 2^14 pixels, the word is added to wider ones.
constexpr unsigned kBits = 6;
constexpr unsigned kLowBits = 8 - kBits;
constexpr std::size_t kCells = std::size_t{1} << (3 * kBits);
constexpr unsigned kCountShift = 48;
constexpr std::uint64_t kFullCell = std::uint64_t{1} << (kCountShift + 14);

// So many that, with more of them, there are more than 256 cells; and half as many as slots, so that a search in the
// hash table is short.
constexpr std::size_t kMaxColors = std::size_t{1} << 14;
constexpr unsigned kSlotBits = 15;

std::uint32_t LoadPixel(const std::uint8_t* pixel) {
    return static_cast<std::uint32_t>(pixel[0]) | static_cast<std::uint32_t>(pixel[1]) << 8 |
           static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[3]) << 24;
}

constexpr std::uint32_t kColorMask = 0xFFFFFF;
bool IsVisible(std::uint32_t pixel) { return pixel > kColorMask; }

std::size_t CellOf(std::uint32_t pixel) {
    return (pixel & 0xFC) << 10 | (pixel & 0xFC00) >> 4 | (pixel & 0xFC0000) >> 18;
}

/// One pixel, as it is added to its cell.
std::uint64_t PackedPixel(std::uint32_t pixel) {
    const std::uint64_t wide = pixel;
    return std::uint64_t{1} << kCountShift | (wide & 3) | (wide & 0x300) << 8 | (wide & 0x30000) << 16;
}

std::uint64_t Field(std::uint64_t packed, unsigned i) { return packed >> (16 * i) & 0xFFFF; }

std::uint32_t SlotOf(std::uint32_t color) { return (color * 0x9E3779B1u) >> (32 - kSlotBits); }

}  // namespace

void SetMean(ColorPoint& point) noexcept {
    for (unsigned c = 0; c < 3; ++c)
        point.mean[c] = static_cast<std::uint8_t>((point.sum[c] + point.weight / 2) / point.weight);
}

ColorHistogram::ColorHistogram() { Clear(); }

void ColorHistogram::Clear() {
    slots.assign(std::size_t{1} << kSlotBits, 0);
    colors.clear();
    counts.clear();
    cells.clear();
    spilled.clear();
}

void ColorHistogram::AddRow(const std::uint8_t* pixels, std::size_t count) {
    if (!seenVisible) {
        for (std::size_t x = 0; x < count && !seenVisible; ++x) seenVisible = pixels[4 * x + 3] != 0;
        if (seenVisible) Clear();
    }
    if (seenVisible)
        Add<Counted::visible>(pixels, count);
    else
        Add<Counted::all>(pixels, count);
}

template <ColorHistogram::Counted counted>
void ColorHistogram::Add(const std::uint8_t* pixels, std::size_t count) {
    const std::size_t done = HasAllColors() ? AddToColors<counted>(pixels, count) : 0;
    if (done == count) return;
    if (HasAllColors()) TurnColorsToCells();
    AddToCells<counted>(pixels + 4 * done, count - done);
}

/// Returns how many pixels were added before there were too many colours.
template <ColorHistogram::Counted counted>
std::size_t ColorHistogram::AddToColors(const std::uint8_t* pixels, std::size_t count) {
    for (std::size_t x = 0; x < count;) {
        const std::uint32_t pixel = LoadPixel(pixels + 4 * x);
        const std::size_t first = x++;
        while (x < count && LoadPixel(pixels + 4 * x) == pixel) ++x;
        if ((counted == Counted::all || IsVisible(pixel)) && !AddColor(pixel & kColorMask, x - first)) return first;
    }
    return count;
}

/// False, with nothing added, if the colour is new and one too many.
bool ColorHistogram::AddColor(std::uint32_t color, std::uint64_t count) {
    std::uint32_t slot = SlotOf(color);
    while (slots[slot] != 0) {
        const std::uint32_t at = slots[slot] - 1;
        if (colors[at] == color) {
            counts[at] += count;
            return true;
        }
        slot = (slot + 1) & ((1u << kSlotBits) - 1);
    }
    if (colors.size() == kMaxColors) return false;
    colors.push_back(color);
    counts.push_back(count);
    slots[slot] = static_cast<std::uint32_t>(colors.size());
    return true;
}

template <ColorHistogram::Counted counted>
void ColorHistogram::AddToCells(const std::uint8_t* pixels, std::size_t count) {
    std::uint64_t* const words = cells.data();
    for (std::size_t x = 0; x < count; ++x) {
        const std::uint32_t pixel = LoadPixel(pixels + 4 * x);
        if (counted == Counted::visible && !IsVisible(pixel)) continue;
        const std::size_t cell = CellOf(pixel);
        const std::uint64_t packed = words[cell] + PackedPixel(pixel);
        words[cell] = packed;
        if ((packed & kFullCell) != 0) Spill(cell, packed);
    }
}

void ColorHistogram::Spill(std::size_t cell, std::uint64_t packed) {
    if (spilled.empty()) spilled.resize(kCells);
    Spilled& wide = spilled[cell];
    wide.count += packed >> kCountShift;
    for (unsigned c = 0; c < 3; ++c) wide.low[c] += Field(packed, c);
    cells[cell] = 0;
}

void ColorHistogram::TurnColorsToCells() {
    cells.resize(kCells);
    spilled.resize(kCells);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        Spilled& wide = spilled[CellOf(colors[i])];
        wide.count += counts[i];
        for (unsigned c = 0; c < 3; ++c) wide.low[c] += Field(PackedPixel(colors[i]), c) * counts[i];
    }
}

std::vector<ColorPoint> ColorHistogram::Points() const { return HasAllColors() ? ColorPoints() : CellPoints(); }

std::vector<ColorPoint> ColorHistogram::ColorPoints() const {
    std::vector<ColorPoint> points(colors.size());
    for (std::size_t i = 0; i < colors.size(); ++i) {
        points[i].weight = counts[i];
        for (unsigned c = 0; c < 3; ++c) {
            points[i].mean[c] = static_cast<std::uint8_t>(colors[i] >> (8 * c) & 0xFF);
            points[i].sum[c] = points[i].mean[c] * counts[i];
        }
    }
    return points;
}

std::vector<ColorPoint> ColorHistogram::CellPoints() const {
    std::vector<ColorPoint> points;
    for (std::size_t cell = 0; cell < kCells; ++cell) {
        const Spilled wide = spilled.empty() ? Spilled{} : spilled[cell];
        ColorPoint point;
        point.weight = wide.count + (cells[cell] >> kCountShift);
        if (point.weight == 0) continue;
        for (unsigned c = 0; c < 3; ++c) {
            const std::uint64_t low = (cell >> ((2 - c) * kBits) & ((1u << kBits) - 1)) << kLowBits;
            point.sum[c] = low * point.weight + wide.low[c] + Field(cells[cell], c);
        }
        SetMean(point);
        points.push_back(point);
    }
    return points;
}

std::vector<ColorPoint> Merge(const std::vector<ColorPoint>& points, unsigned bits) {
    std::vector<std::uint32_t> places(std::size_t{1} << (3 * bits));  // in `merged`, counted from 1
    std::vector<ColorPoint> merged;
    for (const ColorPoint& point : points) {
        std::size_t cell = 0;
        for (const std::uint8_t mean : point.mean) cell = cell << bits | mean >> (8 - bits);
        if (places[cell] == 0) {
            merged.emplace_back();
            places[cell] = static_cast<std::uint32_t>(merged.size());
        }
        Add(merged[places[cell] - 1], point);
    }
    for (ColorPoint& point : merged) SetMean(point);
    return merged;
}

}  // namespace zpixf
