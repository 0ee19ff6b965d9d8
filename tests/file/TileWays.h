#pragma once
// What shows that a run from tile to tile is the same as one line by line.
#include "support_code/Pixels.h"
#include "support_code/TestProgress.h"
#include "zbm/ZBasicMemBitmap.h"

namespace testkit {

/// Nobody knows how its tiles are reached: it is filtered line by line.
class LineByLine final : public zbm::ZBasicMemBitmap {
public:
    using ZBasicMemBitmap::ZBasicMemBitmap;
};

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
class Watcher final : public TestProgress {
public:
    explicit Watcher(const zbm::ZBitmap& watched) : bitmap(watched) {}
    void SetProgress(double fraction) override {
        seen.push_back(ContentOf(bitmap));
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
