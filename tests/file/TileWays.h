#pragma once
// What shows that a run from tile to tile is the same as one line by line.
#include <limits>
#include <utility>
#include <vector>

#include "support_code/Pixels.h"
#include "support_code/TestProgress.h"
#include "zbm/ZBasicMemBitmap.h"

namespace testkit {

/// Nobody knows how its tiles are reached: it is filtered line by line.
template <class Bitmap>
class ByLines final : public Bitmap {
public:
    using Bitmap::Bitmap;
};
using LineByLine = ByLines<zbm::ZBasicMemBitmap>;

/// All that the tiles hold.
inline Bytes ContentOf(const zbm::ZBitmap& bitmap) {
    Bytes content;
    const auto add = [&](const std::uint8_t* row, unsigned width, ColorFormat format) {
        for (unsigned x = 0; x < width; ++x) {
            const std::uint32_t pixel = PixelAt(row, static_cast<int>(x), format);
            content.insert(content.end(), reinterpret_cast<const std::uint8_t*>(&pixel),
                           reinterpret_cast<const std::uint8_t*>(&pixel + 1));
        }
    };
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const zbm::LockedTile tile(bitmap, row, col);
            const auto width = static_cast<unsigned>(tile->GetWidth());
            for (int y = 0; y < tile->GetHeight(); ++y) {
                add(tile->GetRowPtr(y), width, bitmap.GetColorFormat());
                if (tile->GetAlphaStride() != 0) add(tile->GetAlphaRowPtr(y), width, shr::GRAYSCALE_1);
            }
        }
    return content;
}

/// Looks at the picture at every report, as a host does that repaints.
template <auto kLook>
class WatchingHost final : public TestProgress {
public:
    explicit WatchingHost(const zbm::ZBitmap& watched, int cancelAtReport = std::numeric_limits<int>::max())
        : TestProgress(cancelAtReport), bitmap(watched) {}
    void SetProgress(double fraction) override {
        seen.push_back(kLook(bitmap));
        TestProgress::SetProgress(fraction);
    }
    std::vector<decltype(kLook(std::declval<const zbm::ZBitmap&>()))> seen;

private:
    const zbm::ZBitmap& bitmap;
};
using Watcher = WatchingHost<&ContentOf>;

inline RECT WholeOf(const zbm::ZBitmap& bitmap) { return {0, 0, bitmap.GetPixelWidth(), bitmap.GetPixelHeight()}; }

enum class Alpha { mixed, opaque, islands };
constexpr Alpha kAlphas[] = {Alpha::mixed, Alpha::opaque, Alpha::islands};

/// In a sea of which nothing is seen.
inline bool IsIsland(int x, int y) { return (x / 24 + y / 24) % 3 == 0; }

inline void SetAlpha(zbm::ZBitmap& bitmap, int x, int y, bool isSeen) {
    const ColorFormat format = bitmap.GetColorFormat();
    if (HasMask(format)) return SetMask(bitmap, x, y, isSeen);
    const std::uint32_t colors = GetPixel(bitmap, x, y) & 0x00FFFFFF;
    SetPixel(bitmap, x, y, isSeen ? colors | 0xFF000000 : format == shr::PBGRA_32 ? 0 : colors);
}

template <class Bitmap>
Bitmap PictureOf(SIZE size, SIZE tile, ColorFormat format, Alpha alpha) {
    Bitmap bitmap(static_cast<int>(size.cx), static_cast<int>(size.cy), format, static_cast<int>(tile.cx),
                  static_cast<int>(tile.cy));
    FillByFormula(bitmap);
    if (alpha == Alpha::mixed) return bitmap;
    for (int y = 0; y < bitmap.GetPixelHeight(); ++y)
        for (int x = 0; x < bitmap.GetPixelWidth(); ++x)
            SetAlpha(bitmap, x, y, alpha == Alpha::opaque || IsIsland(x, y));
    return bitmap;
}

/// Keeps the lines that are done at each report: one, a hundred more, and so on. What the others hold says nothing.
class LinesDone final : public TestProgress {
public:
    explicit LinesDone(const zbm::ZBitmap& watched, int cancelAtReport = std::numeric_limits<int>::max())
        : TestProgress(cancelAtReport), bitmap(watched) {}
    void SetProgress(double fraction) override {
        const int lines = std::min(bitmap.GetPixelHeight(), 100 * static_cast<int>(seen.size()) + 1);
        const auto stride =
            static_cast<int>(shr::RowBytes(static_cast<unsigned>(bitmap.GetPixelWidth()), bitmap.GetColorFormat()));
        Bytes done(static_cast<std::size_t>(stride) * static_cast<std::size_t>(lines));
        bitmap.FetchRegion(done.data(), stride, 0, 0, bitmap.GetPixelWidth(), lines);
        seen.push_back(std::move(done));
        TestProgress::SetProgress(fraction);
    }
    std::vector<Bytes> seen;

private:
    const zbm::ZBitmap& bitmap;
};

/// What became of a run that was cancelled or not.
template <class Run>
std::string OutcomeOf(const Run& run) {
    try {
        return run() ? "true" : "false";
    } catch (const shr::AbortException&) { return "cancelled"; }
}

}  // namespace testkit
