#include "Survey.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace zcdl {
namespace {

constexpr std::size_t kMinBytes = 64;
/// The rows of narrower pictures are taken together, which predicts them nearly as well.
constexpr std::uint64_t kMinRowBytes = 32;
constexpr std::uint64_t kMaxRowBytes = std::uint64_t{1} << 18;

constexpr std::size_t kWindows = 32;
constexpr std::size_t kWindowBytes = 64;
constexpr std::size_t kPlaces = 64;  ///< at which to look for windows

constexpr std::size_t kSampleRows = 16;
constexpr std::size_t kSamplePixels = 64;  ///< of each of these rows
constexpr std::size_t kSamplesPerPlane = kSampleRows * kSamplePixels;

constexpr std::uint32_t kOneBit = 256;

/// Log2 in 1/256, truncated; 0 for 0.
std::uint32_t Log2(std::uint32_t value) noexcept {
    const auto whole = static_cast<std::uint32_t>(std::bit_width(value | 1) - 1);
    std::uint64_t mantissa = (static_cast<std::uint64_t>(value) << 32) >> whole;  // 1 <= mantissa / 2^32 < 2
    std::uint32_t log = whole;
    for (int bit = 0; bit < 8; ++bit) {
        mantissa = (mantissa >> 16) * (mantissa >> 16);
        const bool two = mantissa >= std::uint64_t{1} << 33;
        if (two) mantissa >>= 1;
        log = log * 2 + (two ? 1 : 0);
    }
    return log;
}

/// The places looked at are far apart, and each would cost the full way to memory. Asked for ahead they arrive
/// together.
void Fetch(const std::uint8_t* from, std::size_t byteCount) noexcept {
#if defined(__GNUC__)
    for (std::size_t i = 0; i < byteCount; i += 64) __builtin_prefetch(from + i);
    __builtin_prefetch(from + byteCount - 1);
#else
    static_cast<void>(from), static_cast<void>(byteCount);
#endif
}

/// Where to look when sizes are searched: a few places that are not flat, since flat ones fit every size.
struct Windows {
    const std::uint8_t* at[kWindows];
    std::size_t count = 0;
    std::size_t length = 0;

    /// Of the block's second half, so that every distance up to half of it can be looked back.
    Windows(const std::uint8_t* src, std::size_t byteCount) noexcept {
        const std::size_t half = byteCount / 2;
        length = std::min(kWindowBytes, byteCount - half - kMaxPlanes);
        const std::size_t room = byteCount - half - kMaxPlanes - length;
        // Steps of 37 through 64 places come by all of them in no regular order.
        const auto place = [&](std::size_t i) {
            return src + half + kMaxPlanes + room * (i * 37 % kPlaces) / (kPlaces - 1);
        };
        for (std::size_t i = 0; i < kWindows; ++i) Fetch(place(i) - kMaxPlanes, length + kMaxPlanes);
        for (std::size_t i = 0; i < kPlaces && count < kWindows; ++i) {
            const std::uint8_t* window = place(i);
            if (ActiveKernels().distance(window, window - kMaxPlanes, length) != 0) at[count++] = window;
        }
    }
};

/// The pixel size whose pixels are nearest to the ones before them.
int FindStep(const Windows& windows) noexcept {
    int step = 1;
    std::uint32_t least = UINT32_MAX;
    for (int candidate = 1; candidate <= kMaxPlanes; ++candidate) {
        std::uint32_t distance = 0;
        for (std::size_t i = 0; i < windows.count; ++i)
            distance += ActiveKernels().distance(windows.at[i], windows.at[i] - candidate, windows.length);
        if (distance >= least) continue;
        least = distance;
        step = candidate;
    }
    return step;
}

/// The row length that fits best. A plane of pixels is whole rows of whole 32-bit words, so few lengths come into
/// question. Compared are the changes from pixel to pixel: areas of little change are alike at any distance.
struct RowSearch {
    const Windows& windows;
    std::size_t step;
    std::uint64_t rowBytes = 0;  ///< 0: none found
    std::uint32_t least = UINT32_MAX;
    std::uint8_t changes[kWindows][kWindowBytes];

    RowSearch(const Windows& places, int pixelBytes) noexcept
        : windows(places), step(static_cast<std::size_t>(pixelBytes)) {
        for (std::size_t i = 0; i < windows.count; ++i) Changes(windows.at[i], changes[i]);
    }

    void Changes(const std::uint8_t* window, std::uint8_t* to) const noexcept {
        ActiveKernels().predict(Predictor::up, window, window - step, to, windows.length);
    }

    void Consider(std::uint64_t candidate) noexcept {
        std::uint32_t d = 0;
        for (std::size_t i = 0; i < windows.count; ++i) Fetch(windows.at[i] - candidate - step, windows.length + step);
        for (std::size_t i = 0; i < windows.count; ++i) {
            std::uint8_t there[kWindowBytes];
            Changes(windows.at[i] - candidate, there);
            d += ActiveKernels().distance(changes[i], there, windows.length);
        }
        // Of equals the shorter: every second row may be as near as every row.
        if (d > least || (d == least && candidate > rowBytes)) return;
        least = d;
        rowBytes = candidate;
    }

    void ConsiderAll(std::size_t byteCount) noexcept {
        if (byteCount % 4 != 0) return;
        const std::uint64_t wordCount = byteCount / 4;
        const auto consider = [&](std::uint64_t words) {
            if (4 * words >= kMinRowBytes && 4 * words <= std::min<std::uint64_t>(kMaxRowBytes, byteCount / 2))
                Consider(4 * words);
        };
        for (std::uint64_t divisor = 1; divisor * divisor <= wordCount; ++divisor) {
            if (wordCount % divisor != 0) continue;
            consider(divisor);
            if (divisor * divisor != wordCount) consider(wordCount / divisor);
        }
    }
};

/// A few pieces of rows as planes, and what is left of them after prediction.
struct Sample {
    static constexpr std::size_t kPieceBytes = kSamplePixels + 2 * kRowMargin;

    std::size_t count = 0;  ///< samples a plane
    std::uint8_t values[kMaxPlanes][kSamplesPerPlane];
    std::uint8_t residuals[kMaxPlanes][kSamplesPerPlane];

    void Take(const std::uint8_t* src, const PlaneLayout& layout) noexcept;

private:
    void TakeBytes(const std::uint8_t* row, const std::uint8_t* above, std::size_t pixels,
                   const PlaneLayout& layout) noexcept;
    void TakeWords(const std::uint8_t* row, const std::uint8_t* above, std::size_t pixels,
                   const PlaneLayout& layout) noexcept;
};

/// Pieces at places spread over the block. Each begins one pixel early, since the first pixel lacks a left neighbour.
void Sample::Take(const std::uint8_t* src, const PlaneLayout& layout) noexcept {
    count = 0;
    const std::uint64_t rows = layout.Rows(), width = layout.Width();
    const bool needsAbove = layout.planes[0].predictor == Predictor::median;
    const std::uint64_t firstRow = needsAbove ? 1 : 0;
    const auto pixels = static_cast<std::size_t>(std::min<std::uint64_t>(kSamplePixels, width - 1));
    const auto piece = [&](std::uint64_t i) {
        const std::uint64_t row = firstRow + (rows - 1 - firstRow) * (2 * i + 1) / (2 * kSampleRows);
        // Steps of 7 through 16 places across, so that the pieces do not lie on a line.
        const std::uint64_t x = 1 + (width - 1 - pixels) * (i * 7 % kSampleRows) / (kSampleRows - 1);
        return src + row * layout.rowBytes + (x - 1) * layout.Step();
    };
    for (std::uint64_t i = 0; i < kSampleRows; ++i) {
        Fetch(piece(i), (pixels + 1) * layout.Step());
        if (needsAbove) Fetch(piece(i) - layout.rowBytes, (pixels + 1) * layout.Step());
    }
    for (std::uint64_t i = 0; i < kSampleRows; ++i) {
        const std::uint8_t* at = piece(i);
        const std::uint8_t* above = needsAbove ? at - layout.rowBytes : at;
        layout.words ? TakeWords(at, above, pixels, layout) : TakeBytes(at, above, pixels, layout);
        count += pixels;
    }
}

void Sample::TakeBytes(const std::uint8_t* row, const std::uint8_t* above, std::size_t pixels,
                       const PlaneLayout& layout) noexcept {
    const PlaneKernels& kernels = ActiveKernels();
    std::uint8_t pieces[2][kMaxPlanes][kPieceBytes];
    std::uint8_t* planes[2][kMaxPlanes];
    for (int p = 0; p < kMaxPlanes; ++p)
        for (int i = 0; i < 2; ++i) planes[i][p] = pieces[i][p] + kRowMargin;
    kernels.split(row, pixels + 1, layout.shape, planes[0]);
    kernels.split(above, pixels + 1, layout.shape, planes[1]);
    for (int p = 0; p < layout.shape.step; ++p) {
        std::memcpy(values[p] + count, planes[0][p] + 1, pixels);
        kernels.predict(layout.planes[0].predictor, planes[0][p] + 1, planes[1][p] + 1, residuals[p] + count, pixels);
    }
}

void Sample::TakeWords(const std::uint8_t* row, const std::uint8_t* above, std::size_t pixels,
                       const PlaneLayout& layout) noexcept {
    const PlaneKernels& kernels = ActiveKernels();
    std::uint16_t words[2][kPieceBytes];
    std::memcpy(words[0] + kRowMargin, row, 2 * (pixels + 1));
    std::memcpy(words[1] + kRowMargin, above, 2 * (pixels + 1));
    std::uint8_t* const bytes[] = {values[0] + count, values[1] + count};
    kernels.split(row + 2, pixels, {2, false}, bytes);
    kernels.predictWords(layout.planes[0].predictor, words[0] + kRowMargin + 1, words[1] + kRowMargin + 1,
                         residuals[0] + count, residuals[1] + count, pixels);
}

/// About how many bits (1/256) a byte takes after the transform, if each plane's residuals spread as the differences in
/// pictures do: the mean magnitude m then says it all, log2(2 e m).
std::uint32_t EstimateBits(const Sample& sample, const PlaneLayout& layout) noexcept {
    if (sample.count == 0) return UINT32_MAX;
    std::uint32_t bits = 0;
    for (int p = 0; p < layout.shape.step; ++p) {
        std::uint32_t sum = 0;
        // Of words the folded residuals' bytes count as they are: twice the magnitude, and never negative.
        for (std::size_t i = 0; i < sample.count; i += kSamplePixels) {
            static constexpr std::uint8_t kZeros[kSamplePixels] = {};
            const std::size_t count = std::min(kSamplePixels, sample.count - i);
            if (!layout.words) {
                sum += ActiveKernels().distance(sample.residuals[p] + i, kZeros, count);
            } else {
                for (std::size_t k = 0; k < count; ++k) sum += sample.residuals[p][i + k];
            }
        }
        bits +=
            Log2(256 + static_cast<std::uint32_t>(sum * (layout.words ? 700u : 1392u) / sample.count)) - 8 * kOneBit;
    }
    return bits / static_cast<std::uint32_t>(layout.shape.step);
}

/// The bits (1/256) that `count` bytes take if each is coded by how often it occurs.
std::uint32_t Entropy(const std::uint8_t* bytes, std::size_t count) noexcept {
    std::uint16_t counts[256] = {};
    for (std::size_t i = 0; i < count; ++i) ++counts[bytes[i]];
    const std::uint32_t all = Log2(static_cast<std::uint32_t>(count));
    std::uint32_t bits = 0;
    for (const std::uint32_t c : counts)
        if (c != 0) bits += c * (all - Log2(c));
    return bits;
}

PlaneLayout MakeLayout(std::size_t byteCount, std::uint64_t rowBytes, int step, bool color, bool words) noexcept {
    PlaneLayout layout;
    layout.byteCount = byteCount;
    layout.rowBytes = rowBytes;
    layout.shape = {step, color};
    layout.words = words;
    for (PlaneCode& plane : layout.planes)
        plane.predictor = rowBytes == byteCount ? Predictor::left : Predictor::median;
    return layout;
}

/// Tries the pixel sizes and, for each that is near the best, what may go with it.
struct Search {
    const std::uint8_t* src;
    std::size_t byteCount;
    Sample sample;
    PlaneLayout best;
    std::uint32_t bestBits = UINT32_MAX;

    void Try(std::uint64_t rowBytes, int step, bool color, bool words) noexcept {
        const PlaneLayout layout = MakeLayout(byteCount, rowBytes, step, color, words);
        if (layout.Width() < 2) return;
        sample.Take(src, layout);
        const std::uint32_t bits = EstimateBits(sample, layout);
        if (bits >= bestBits) return;
        bestBits = bits;
        best = layout;
    }
};

void FindLayout(Search& search) noexcept {
    const Windows windows(search.src, search.byteCount);
    if (windows.count == 0) return;
    const int step = FindStep(windows);
    RowSearch rows(windows, step);
    rows.ConsiderAll(search.byteCount);
    const std::uint64_t rowBytes = rows.rowBytes != 0 ? rows.rowBytes : search.byteCount;
    search.Try(rowBytes, step, false, false);
    if (step >= 3) search.Try(rowBytes, step, true, false);
    if (step > 2) return;
    // Grey in equal channels looks like single bytes, and words may look like either.
    search.Try(rowBytes, 3, true, false);
    search.Try(rowBytes, 4, true, false);
    search.Try(rowBytes, 2, false, true);
}

/// Constant planes cost nothing. Packing halves what a photograph's planes cost; a drawing's lose their repetitions.
void ChooseCodings(const Sample& sample, Content content, PlaneLayout& layout) noexcept {
    bool packs[kMaxPlanes] = {};
    for (int p = 0; p < layout.shape.step; ++p) {
        PlaneCode& plane = layout.planes[static_cast<std::size_t>(p)];
        const std::uint8_t* values = sample.values[p];
        if (!layout.words &&
            std::all_of(values, values + sample.count, [&](std::uint8_t v) { return v == values[0]; })) {
            plane = {Coding::constant, Predictor::none, values[0], 0};
            continue;
        }
        std::size_t escapes = 0;
        for (std::size_t i = 0; i < sample.count; ++i)
            if (static_cast<std::uint8_t>(sample.residuals[p][i] + 7) >= 15) ++escapes;
        packs[p] = content == Content::photographic && escapes * 8 < sample.count;
        plane.coding = packs[p] ? Coding::pairs : Coding::bytes;
    }
    // Where one colour difference changes, the other one mostly does too.
    if (layout.shape.color && packs[0] && packs[2]) layout.planes[0].coding = layout.planes[2].coding = Coding::joint;
}

/// Whether prediction makes the bytes of pixels much less various.
bool IsPredictable(const Sample& sample, const PlaneLayout& layout) noexcept {
    std::uint32_t before = 0, after = 0;
    for (int p = 0; p < layout.shape.step; ++p) {
        before += Entropy(sample.values[p], sample.count);
        after += Entropy(sample.residuals[p], sample.count);
    }
    return after < before - before / 8;
}

/// A drawing is flat but for hard edges: most pixels are as predicted, and the others are far off. In a photograph of
/// soft shades as many may be as predicted, but the others are near.
bool LooksDrawn(const Sample& sample, const PlaneLayout& layout) noexcept {
    std::uint32_t differing = 0, sum = 0, exactPixels = 0;
    for (std::size_t i = 0; i < sample.count; ++i) {
        std::uint32_t inPixel = 0;
        for (int p = 0; p < layout.shape.step; ++p) {
            const std::uint32_t r = sample.residuals[p][i];
            sum += std::min(r, 256 - r);
            inPixel += r != 0 ? 1 : 0;
        }
        differing += inPixel;
        exactPixels += inPixel == 0 ? 1 : 0;
    }
    constexpr std::uint32_t kFarOff = 16;
    const auto count = static_cast<std::uint32_t>(sample.count);
    return exactPixels * 20 >= count * 19 || (exactPixels * 5 >= count * 2 && sum >= kFarOff * differing);
}

}  // namespace

Survey LookAt(const std::uint8_t* src, std::size_t byteCount) noexcept {
    Survey survey;
    if (byteCount < kMinBytes) return survey;
    Search search{src, byteCount, {}, {}, UINT32_MAX};
    FindLayout(search);
    if (search.bestBits == UINT32_MAX) return survey;
    survey.layout = search.best;
    Sample& sample = search.sample;
    sample.Take(src, survey.layout);
    if (LooksDrawn(sample, survey.layout)) {
        survey.content = Content::drawn;
    } else if (IsPredictable(sample, survey.layout)) {
        survey.content = Content::photographic;
    }
    ChooseCodings(sample, survey.content, survey.layout);
    return survey;
}

}  // namespace zcdl
