// Pixels taken as they are. A tile's places are a rectangle of the surface; no other tile has anything there.
#include <algorithm>
#include <cstring>

#include "draw/Drawing.h"

namespace zbm {

namespace {

/// Wide pixels made at a time: a quarter of a cache of the first level.
constexpr int kWidePixels = 1024;

class SinglesDrawer {
public:
    explicit SinglesDrawer(const Drawing& singles)
        : drawing(singles), tile(singles.bitmap), kernels(ActiveDrawKernels()) {
        sourceColumns.reserve(static_cast<std::size_t>(drawing.columns.Count()));
        for (int i = 0; i < drawing.columns.Count(); ++i) sourceColumns.push_back(drawing.columns[i].first);
    }

    void Draw() {
        const RECT shown = drawing.Source(0, drawing.columns.Count(), 0, drawing.rows.Count());
        ForEachTileRow(drawing.bitmap, shown, [&](int row, int firstCol, int endCol, const RECT& box) {
            const int rowBegin = drawing.rows.FirstShowing(static_cast<int>(box.top));
            const int rowEnd = drawing.rows.FirstShowing(static_cast<int>(box.bottom));
            if (rowBegin == rowEnd) return;
            for (int col = firstCol; col < endCol; ++col) DrawTile(row, col, rowBegin, rowEnd);
            drawing.Report(static_cast<double>(rowEnd) / drawing.rows.Count());
        });
    }

private:
    void DrawTile(int row, int col, int rowBegin, int rowEnd) {
        const RECT box = drawing.bitmap.GetScanRectBBox(row, col);
        columnBegin = drawing.columns.FirstShowing(static_cast<int>(box.left));
        columnEnd = drawing.columns.FirstShowing(static_cast<int>(box.right));
        if (columnBegin == columnEnd) return;
        source = drawing.Source(columnBegin, columnEnd, rowBegin, rowEnd);
        tile.Begin(row, col, source);
        if (drawing.columns.IsOneToOne() && drawing.rows.IsOneToOne())
            DrawCopy(rowBegin, rowEnd);
        else
            DrawRows(rowBegin, rowEnd);
        tile.End();
    }

    /// Rows that the masks say are opaque are converted where they are to be.
    void DrawCopy(int j, int rowEnd) {
        while (j < rowEnd) {
            const int y = drawing.rows[j].first, rows = tile.CountOpaque(y, y + (rowEnd - j));
            if (rows != 0) {
                tile.Convert(y, rows, At(j), drawing.surface.Stride());
                j += rows;
            } else {
                DrawRow(j++);
            }
        }
    }

    /// A row like the one above is a copy of it.
    void DrawRows(int rowBegin, int rowEnd) {
        bool isCopyable = false;
        for (int j = rowBegin; j < rowEnd; ++j) {
            if (isCopyable && drawing.rows[j].first == drawing.rows[j - 1].first)
                std::memcpy(At(j), At(j - 1), 4 * static_cast<std::size_t>(columnEnd - columnBegin));
            else
                isCopyable = DrawRow(j);
        }
    }

    /// Whether it is opaque.
    bool DrawRow(int j) {
        const TilePixels::Row row = tile.Read(drawing.rows[j].first);
        const auto count = static_cast<std::size_t>(columnEnd - columnBegin);
        if (row.isOpaque)
            Take(At(j), row.pixels, columnBegin, count);
        else
            DrawOver(j, row.pixels);
        return row.isOpaque;
    }

    void DrawOver(int j, const std::uint8_t* pixels) {
        std::uint8_t taken[4 * kWidePixels];
        std::uint16_t wide[4 * kWidePixels];
        for (int i = columnBegin; i < columnEnd; i += kWidePixels) {
            const auto count = static_cast<std::size_t>(std::min(columnEnd - i, kWidePixels));
            Take(taken, pixels, i, count);
            (tile.ArePremultiplied() ? kernels.widenPremultiplied : kernels.widen)(wide, taken, count);
            drawing.surface.DrawOver(drawing.columns.Begin() + i, drawing.rows.Begin() + j, wide, count);
        }
    }

    void Take(std::uint8_t* to, const std::uint8_t* pixels, int i, std::size_t count) const {
        if (drawing.columns.IsOneToOne())
            std::memcpy(to, pixels + 4 * std::ptrdiff_t{i - columnBegin}, 4 * count);
        else
            kernels.gather(to, pixels, static_cast<std::int32_t>(source.left),
                           sourceColumns.data() + static_cast<std::size_t>(i), count);
    }

    std::uint8_t* At(int j) const {
        return drawing.surface.At(drawing.columns.Begin() + columnBegin, drawing.rows.Begin() + j);
    }

    const Drawing& drawing;
    TilePixels tile;
    const DrawKernels& kernels;
    std::vector<std::int32_t> sourceColumns;
    int columnBegin = 0, columnEnd = 0;
    RECT source{};
};

}  // namespace

void DrawSingles(const Drawing& drawing) { SinglesDrawer(drawing).Draw(); }

}  // namespace zbm
