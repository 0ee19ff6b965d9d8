#include "palette/ColorHistogram.h"

#include <algorithm>

namespace zpixf {
namespace {

// Colours are counted in blocks of 8 x 8 x 8, each made when its first colour comes.
constexpr unsigned kBlockBits = 5, kBlockSide = 1u << (8 - kBlockBits);
constexpr std::size_t kBlocks = std::size_t{1} << (3 * kBlockBits);

// So many that, with more of them, there are more than 256 cells of 6 bits; and half as many as slots, so that a search
// in the hash table is short.
constexpr std::size_t kMaxColors = std::size_t{1} << 14;
constexpr unsigned kSlotBits = 15;

// As many colours as there are cells of 6 bits.
constexpr std::size_t kMaxFinest = std::size_t{1} << 18;

// What is put aside when a count has become too large for its block, which keeps the one that is left.
constexpr std::uint64_t kOverflow = 0xFFFF;

std::uint32_t LoadPixel(const std::uint8_t* pixel) {
    return static_cast<std::uint32_t>(pixel[0]) | static_cast<std::uint32_t>(pixel[1]) << 8 |
           static_cast<std::uint32_t>(pixel[2]) << 16 | static_cast<std::uint32_t>(pixel[3]) << 24;
}

constexpr std::uint32_t kColorMask = 0xFFFFFF;
bool IsVisible(std::uint32_t pixel) { return pixel > kColorMask; }

std::uint32_t ColorOf(unsigned blue, unsigned green, unsigned red) { return blue | green << 8 | red << 16; }

std::size_t BlockOf(std::uint32_t color) {
    return (color & 0xF8) << 7 | (color & 0xF800) >> 6 | (color & 0xF80000) >> 19;
}

std::size_t PlaceInBlock(std::uint32_t color) {
    return (color & 7) << 6 | (color & 0x700) >> 5 | (color & 0x70000) >> 16;
}

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
    blocks.clear();
    overflows.clear();
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
    if (HasAllColors()) TurnColorsToBlocks();
    AddToBlocks<counted>(pixels + 4 * done, count - done);
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
void ColorHistogram::AddToBlocks(const std::uint8_t* pixels, std::size_t count) {
    for (std::size_t x = 0; x < count; ++x) {
        const std::uint32_t pixel = LoadPixel(pixels + 4 * x);
        if (counted == Counted::visible && !IsVisible(pixel)) continue;
        Block* block = blocks[BlockOf(pixel)].get();
        if (block == nullptr) block = &MakeBlock(pixel);
        std::uint16_t& inBlock = (*block)[PlaceInBlock(pixel)];
        if (++inBlock <= 1) CountFirstOrOverflow(pixel & kColorMask, inBlock);
    }
}

void ColorHistogram::CountFirstOrOverflow(std::uint32_t color, std::uint16_t& inBlock) {
    if (inBlock == 1) {
        ++numColors;
    } else {
        inBlock = 1;
        overflows[color] += kOverflow;
    }
}

ColorHistogram::Block& ColorHistogram::MakeBlock(std::uint32_t color) {
    std::unique_ptr<Block>& block = blocks[BlockOf(color)];
    if (!block) block = std::make_unique<Block>();
    return *block;
}

void ColorHistogram::TurnColorsToBlocks() {
    blocks.resize(kBlocks);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        const std::uint64_t overflow = (counts[i] - 1) / kOverflow * kOverflow;
        if (overflow != 0) overflows[colors[i]] = overflow;
        MakeBlock(colors[i])[PlaceInBlock(colors[i])] = static_cast<std::uint16_t>(counts[i] - overflow);
    }
    numColors = colors.size();
}

std::vector<ColorPoint> ColorHistogram::Points() const { return HasAllColors() ? ColorPoints() : Cells(6); }

std::vector<ColorPoint> ColorHistogram::FinestPoints() const {
    if (HasAllColors()) return ColorPoints();
    return Cells(numColors <= kMaxFinest ? 8 : numColors <= 2 * kMaxFinest ? 7 : 6);
}

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

/// In the order of their numbers, B slowest and R fastest.
std::vector<ColorPoint> ColorHistogram::Cells(unsigned bits) const {
    const unsigned side = 1u << (8 - bits);
    std::vector<ColorPoint> points;
    for (unsigned blue = 0; blue < 256; blue += side)
        for (unsigned green = 0; green < 256; green += side)
            for (unsigned blockRed = 0; blockRed < 256; blockRed += kBlockSide) {
                if (blocks[BlockOf(ColorOf(blue, green, blockRed))] == nullptr) continue;
                for (unsigned red = blockRed; red < blockRed + kBlockSide; red += side) {
                    ColorPoint cell = Cell(blue, green, red, side);
                    if (cell.weight == 0) continue;
                    SetMean(cell);
                    points.push_back(cell);
                }
            }
    return points;
}

/// The colours of a block that has been made, from those on, `side` in each channel; without their mean.
ColorPoint ColorHistogram::Cell(unsigned blue, unsigned green, unsigned red, unsigned side) const {
    const Block& block = *blocks[BlockOf(ColorOf(blue, green, red))];
    ColorPoint cell;
    for (unsigned b = blue; b < blue + side; ++b)
        for (unsigned g = green; g < green + side; ++g)
            for (unsigned r = red; r < red + side; ++r) {
                const std::uint64_t count = CountOf(ColorOf(b, g, r), block);
                cell.weight += count;
                cell.sum[0] += count * b;
                cell.sum[1] += count * g;
                cell.sum[2] += count * r;
            }
    return cell;
}

std::uint64_t ColorHistogram::CountOf(std::uint32_t color, const Block& block) const {
    const std::uint64_t count = block[PlaceInBlock(color)];
    if (overflows.empty() || count == 0) return count;
    const auto found = overflows.find(color);
    return found == overflows.end() ? count : count + found->second;
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
