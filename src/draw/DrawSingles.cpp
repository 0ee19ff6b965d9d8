// Pixels taken as they are. A tile's places are a rectangle of the surface; no other tile has anything there.
#include <algorithm>
#include <cstring>
#include <deque>
#include <optional>
#include <vector>

#include "draw/Drawing.h"
#include "shr/Fetch.h"

namespace zbm {

namespace {

/// Wide pixels made at a time: a quarter of a cache of the first level.
constexpr int kWidePixels = 1024;

// Rows that are drawn of a tile before the next one has its turn: few, that a row of the surface is written at once,
// and as many as are worth a start of the converter.
constexpr int kRowsAbreast = 2, kConvertedRows = 4;
/// Tiles that take turns: of each a few rows are converted at a time.
constexpr int kMostAbreast = 64;

/// Rows of a tile that are read from a file at a time, so that they are drawn before they have left the caches.
constexpr int kRowsRead = 64;

/// One tile at a time.
class TileDrawer {
public:
    TileDrawer(const Drawing& singles, const std::vector<std::int32_t>& columns)
        : drawing(singles), tile(singles.bitmap), kernels(ActiveDrawKernels()), sourceColumns(columns) {}

    bool IsAtHand() const noexcept { return tile.AreAtHand(); }
    bool ComesInRows() const noexcept { return tile.ComeInRows(); }
    bool AreStored() const noexcept { return stored.has_value(); }

    /// Takes up a tile for the places of some rows. False if no place shows any of it.
    bool Begin(int row, int col, int begin, int end) {
        const RECT box = drawing.bitmap.GetScanRectBBox(row, col);
        columnBegin = drawing.columns.FirstShowing(static_cast<int>(box.left));
        columnEnd = drawing.columns.FirstShowing(static_cast<int>(box.right));
        rowBegin = begin;
        rowEnd = end;
        if (columnBegin == columnEnd) return false;
        source = drawing.Source(columnBegin, columnEnd, begin, end);
        tile.Begin(row, col, source);
        stored = tile.Stored();
        const bool hasAlpha = stored && stored->alpha == 0;
        storedEnd =
            hasAlpha
                ? end
                : begin + (stored ? tile.CountOpaque(drawing.rows[begin].first, static_cast<int>(source.bottom)) : 0);
        place = drawing.surface.At(drawing.columns.Begin() + columnBegin, drawing.rows.Begin() + begin);
        return true;
    }
    void End() noexcept { tile.End(); }

    /// Rows of places that follow each other as the bitmap's pixels do. Those that the masks say are opaque are
    /// converted where they are to be.
    void Copy(int j, int end) {
        while (j < end) {
            const int y = drawing.rows[j].first;
            if (j < storedEnd) {
                CopyStored(j++);
            } else if (const int rows = tile.CountOpaque(y, y + (end - j)); rows != 0) {
                for (int next = j + rows; next < std::min(j + 2 * rows, rowEnd); ++next) FetchForWriting(next);
                tile.Convert(y, rows, At(j), drawing.surface.Stride());
                j += rows;
            } else {
                DrawRow(j++);
            }
        }
    }

    /// A row like the one above is a copy of it.
    void DrawRows(int j, int end) {
        for (bool isCopyable = false; j < end; ++j) {
            if (isCopyable && drawing.rows[j].first == drawing.rows[j - 1].first) {
                if (j + 1 < rowEnd) FetchForWriting(j + 1);
                std::memcpy(At(j), At(j - 1), 4 * Count());
            } else {
                isCopyable = DrawRow(j);
            }
        }
    }

private:
    std::size_t Count() const { return static_cast<std::size_t>(columnEnd - columnBegin); }

    void FetchForWriting(int j) const { shr::FetchForWriting(At(j), 4 * Count()); }

    void CopyStored(int j) {
        const bool isLast = j + 1 == rowEnd;
        const std::ptrdiff_t nextRow = isLast ? 0 : stored->stride, nextPlace = isLast ? 0 : drawing.surface.Stride();
        const std::uint8_t* const row = stored->first + (j - rowBegin) * stored->stride;
        std::uint8_t* const to = At(j);
        for (std::size_t i = 0, count = Count();;) {
            const std::uint8_t* const from = row + 4 * i;
            i += kernels.copyOpaque(to + 4 * i, from, stored->alpha, count - i,
                                    {from + nextRow, to + 4 * i + nextPlace});
            if (i == count) return;
            const std::size_t few = std::min<std::size_t>(count - i, kWidePixels / 4);
            DrawOver(j, row, columnBegin + static_cast<int>(i), columnBegin + static_cast<int>(i + few));
            i += few;
        }
    }

    /// Whether it is opaque.
    bool DrawRow(int j) {
        if (j + 1 < rowEnd) FetchForWriting(j + 1);
        const TilePixels::Row row = tile.Read(drawing.rows[j].first);
        if (row.isOpaque)
            Take(At(j), row.pixels, columnBegin, Count());
        else
            DrawOver(j, row.pixels, columnBegin, columnEnd);
        return row.isOpaque;
    }

    /// Places `i` up to `end` of a row whose pixels begin with those of columnBegin.
    void DrawOver(int j, const std::uint8_t* pixels, int i, int end) {
        std::uint8_t taken[4 * kWidePixels];
        std::uint16_t wide[4 * kWidePixels];
        for (; i < end; i += kWidePixels) {
            const auto count = static_cast<std::size_t>(std::min(end - i, kWidePixels));
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

    std::uint8_t* At(int j) const { return place + (j - rowBegin) * drawing.surface.Stride(); }

    const Drawing& drawing;
    TilePixels tile;
    const DrawKernels& kernels;
    const std::vector<std::int32_t>& sourceColumns;
    int columnBegin = 0, columnEnd = 0, rowBegin = 0, rowEnd = 0;
    RECT source{};
    std::optional<TilePixels::StoredPixels> stored;
    int storedEnd = 0;              ///< of the rows that can be copied as they are stored, where they are opaque
    std::uint8_t* place = nullptr;  ///< of columnBegin and rowBegin
};

/// Tiles that are at hand are drawn side by side, a few rows of all of them at a time: the surface's rows are long, and
/// its memory is fastest in their order. Others are drawn one after the other.
class SinglesDrawer {
public:
    explicit SinglesDrawer(const Drawing& singles)
        : drawing(singles), isCopy(singles.columns.IsOneToOne() && singles.rows.IsOneToOne()) {
        sourceColumns.reserve(static_cast<std::size_t>(drawing.columns.Count()));
        for (int i = 0; i < drawing.columns.Count(); ++i) sourceColumns.push_back(drawing.columns[i].first);
        drawers.emplace_back(drawing, sourceColumns);
    }

    void Draw() {
        const RECT shown = drawing.Source(0, drawing.columns.Count(), 0, drawing.rows.Count());
        ForEachTileRow(drawing.bitmap, shown, [&](int row, int firstCol, int endCol, const RECT& box) {
            const int rowBegin = drawing.rows.FirstShowing(static_cast<int>(box.top));
            const int rowEnd = drawing.rows.FirstShowing(static_cast<int>(box.bottom));
            if (rowBegin == rowEnd) return;
            const int abreast = drawers.front().IsAtHand() ? kMostAbreast : 1;
            for (int col = firstCol; col < endCol; col += abreast)
                for (int j = rowBegin, end; j < rowEnd; j = end) {
                    end = drawers.front().ComesInRows() ? EndOfRead(j, rowEnd) : rowEnd;
                    DrawTiles(row, col, std::min(col + abreast, endCol), j, end);
                }
            drawing.Report(static_cast<double>(rowEnd) / drawing.rows.Count());
        });
    }

private:
    int EndOfRead(int j, int rowEnd) const {
        const int first = drawing.rows[j].first, rows = std::min(kRowsRead, drawing.bitmap.GetPixelHeight() - first);
        return std::clamp(drawing.rows.FirstShowing(first + rows), j + 1, rowEnd);
    }

    void DrawTiles(int row, int col, int endCol, int rowBegin, int rowEnd) {
        std::size_t count = 0;
        for (; col < endCol; ++col) {
            if (count == drawers.size()) drawers.emplace_back(drawing, sourceColumns);
            if (drawers[count].Begin(row, col, rowBegin, rowEnd)) ++count;
        }
        const int step = drawers.front().AreStored() ? kRowsAbreast : kConvertedRows;
        for (int j = rowBegin; j < rowEnd; j += step)
            for (std::size_t k = 0; k < count; ++k) DrawPart(drawers[k], j, std::min(j + step, rowEnd));
        for (std::size_t k = 0; k < count; ++k) drawers[k].End();
    }

    void DrawPart(TileDrawer& drawer, int begin, int end) const {
        isCopy ? drawer.Copy(begin, end) : drawer.DrawRows(begin, end);
    }

    const Drawing& drawing;
    const bool isCopy;
    std::vector<std::int32_t> sourceColumns;
    std::deque<TileDrawer> drawers;
};

}  // namespace

void DrawSingles(const Drawing& drawing) { SinglesDrawer(drawing).Draw(); }

}  // namespace zbm
