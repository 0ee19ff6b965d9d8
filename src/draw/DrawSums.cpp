// Sums of pixels: columns of a tile are summed first, since there all channels of a row are treated alike, then rows.
//
//     tile ──► wide pixels ──► sums of columns ──► lines ──► sums of rows ──► surface
//
// A tile is read once: what a place of the surface shows of the next row of tiles is added to its sums later. Sums are
// of whole numbers, so the order in which tiles come changes nothing.
#include <algorithm>
#include <cstring>

#include "draw/Drawing.h"

namespace zbm {

namespace {

// What lines may take where tiles can be read again at no cost, and where not.
constexpr std::size_t kBytesAtHand = std::size_t{256} << 10, kBytesOnce = std::size_t{32} << 20;
constexpr std::size_t kWideBytes = 4 * sizeof(std::uint16_t);

/// Places from `begin` up to `end`.
struct Places {
    int begin, end;
    int Count() const { return end - begin; }
};

class SumsDrawer {
public:
    explicit SumsDrawer(const Drawing& drawingOfSums)
        : drawing(drawingOfSums), tile(drawingOfSums.bitmap), kernels(ActiveDrawKernels()) {}

    void Draw() { tile.AreAtHand() ? DrawInBands() : DrawInStrips(); }

private:
    void DrawInBands() {
        const Places all{0, drawing.columns.Count()};
        const RECT shown = drawing.Source(0, all.end, 0, drawing.rows.Count());
        const auto lineBytes = static_cast<std::size_t>(shown.right - shown.left) * kWideBytes;
        const int most = static_cast<int>(std::max<std::size_t>(1, kBytesAtHand / lineBytes));
        for (int begin = 0, end; begin < drawing.rows.Count(); begin = end) {
            end = begin + std::min(most, drawing.rows.Count() - begin);
            DrawPart(all, {begin, end});
        }
    }

    void DrawInStrips() {
        const std::size_t rowsBytes = static_cast<std::size_t>(MostRowsOfATile()) * kWideBytes;
        const auto most = static_cast<std::int64_t>(kBytesOnce / rowsBytes);
        const AxisMap& columns = drawing.columns;
        for (int begin = 0, end; begin < columns.Count(); begin = end) {
            end = begin + 1;
            while (end < columns.Count() &&
                   std::int64_t{columns.SourceEnd(end + 1)} - columns.SourceBegin(begin) <= most)
                ++end;
            DrawPart({begin, end}, {0, drawing.rows.Count()});
        }
    }

    Places RowsShowing(const RECT& box) const {
        return {drawing.rows.FirstShowing(static_cast<int>(box.top)),
                drawing.rows.FirstFrom(static_cast<int>(box.bottom))};
    }

    int MostRowsOfATile() const {
        int most = 1;
        const RECT shown = drawing.Source(0, drawing.columns.Count(), 0, drawing.rows.Count());
        ForEachTileRow(drawing.bitmap, shown,
                       [&](int, int, int, const RECT& box) { most = std::max(most, RowsShowing(box).Count()); });
        return most;
    }

    void DrawPart(const Places& columns, const Places& rows) {
        source = drawing.Source(columns.begin, columns.end, rows.begin, rows.end);
        carried = {rows.begin, rows.begin};
        ForEachTileRow(drawing.bitmap, source, [&](int row, int firstCol, int endCol, const RECT& box) {
            const Places showing = RowsShowing(box);
            inTile = {std::max(rows.begin, showing.begin), std::min(rows.end, showing.end)};
            const int complete = drawing.rows.FirstShowing(static_cast<int>(box.bottom));
            leftOver = {std::clamp(complete, inTile.begin, inTile.end), inTile.end};
            lines.resize(static_cast<std::size_t>(inTile.Count()) * Width() * 4 + 4);
            carriedSums.resize(std::max(carriedSums.size(), static_cast<std::size_t>(leftOver.Count()) * Width() * 4));
            for (int col = firstCol; col < endCol; ++col) AddTile(row, col);
            for (int j = inTile.begin; j < leftOver.begin; ++j) DrawLine(columns, j);
            carried = leftOver;
            if (complete <= rows.end && leftOver.begin > inTile.begin) Report(columns, complete);
        });
    }

    void AddTile(int row, int col) {
        const RECT box = drawing.bitmap.GetScanRectBBox(row, col);
        RECT part;
        IntersectRect(&part, &box, &source);
        const auto width = static_cast<std::size_t>(part.right - part.left);
        sums.resize(width * 4);
        for (WideRow& wide : wideRows) wide.y = -1;
        tile.Begin(row, col, part);
        for (int j = inTile.begin; j < inTile.end; ++j) AddRows(j, part, width);
        tile.End();
    }

    /// The part's share in place `j`.
    void AddRows(int j, const RECT& part, std::size_t width) {
        const Tap& tap = drawing.rows[j];
        const std::size_t x = 4 * static_cast<std::size_t>(part.left - source.left), channels = 4 * width;
        std::uint16_t* const line = LineOf(j) + x;
        if (tap.count == 1) {
            std::memcpy(line, Wide(tap.first, width), channels * sizeof *line);
            return;
        }
        const int last = tap.first + tap.count - 1;
        const int begin = std::max(tap.first, static_cast<int>(part.top)),
                  end = std::min(last + 1, static_cast<int>(part.bottom));
        if (drawing.rows.IsBlended() && end - begin == 2) {
            const std::uint16_t* const above = Wide(begin, width);
            return kernels.blendRows(line, {above, tap.firstWeight}, {Wide(last, width), tap.lastWeight}, width);
        }
        if (j < carried.end)
            std::copy_n(CarriedOf(j - carried.begin) + x, channels, sums.data());
        else
            std::fill(sums.begin(), sums.end(), 0u);
        const auto rowAt = [&](int y) -> WeightedRow {
            return {Wide(y, width), y == tap.first ? tap.firstWeight
                                    : y == last    ? tap.lastWeight
                                                   : drawing.rows.Unit()};
        };
        for (int y = begin; y < end; y += 2) {
            const WeightedRow a = rowAt(y), b = y + 1 < end ? rowAt(y + 1) : WeightedRow{a.wide, 0};
            kernels.accumulate(sums.data(), a, b, drawing.rows.SummedAs(), width);
        }
        if (j < leftOver.begin)
            kernels.divide(line, sums.data(), tap.reciprocal, drawing.rows.SummedAs(), width);
        else
            std::copy_n(sums.data(), channels, CarriedOf(j - leftOver.begin) + x);
    }

    /// A row of the tile. The one before stays as well: two places may show parts of both.
    const std::uint16_t* Wide(int y, std::size_t width) {
        WideRow& wide = wideRows[y & 1];
        if (wide.y == y) return wide.pixels.data();
        wide.pixels.resize(4 * width);
        (tile.ArePremultiplied() ? kernels.widenPremultiplied : kernels.widen)(wide.pixels.data(), tile.Read(y).pixels,
                                                                               width);
        wide.y = y;
        return wide.pixels.data();
    }

    void DrawLine(const Places& columns, int j) {
        const auto count = static_cast<std::size_t>(columns.Count());
        drawn.resize(4 * count);
        const auto origin = static_cast<std::int32_t>(source.left);
        const Tap* const taps = &drawing.columns[columns.begin];
        if (drawing.columns.IsBlended())
            kernels.blendColumns(drawn.data(), LineOf(j), origin, taps, count);
        else
            kernels.average(drawn.data(), LineOf(j), origin, taps, drawing.columns.Unit(), drawing.columns.SummedAs(),
                            count);
        drawing.surface.DrawOver(drawing.columns.Begin() + columns.begin, drawing.rows.Begin() + j, drawn.data(),
                                 count);
    }

    void Report(const Places& columns, int rowsDone) const {
        const double strips = drawing.columns.Count();
        drawing.Report((columns.begin + columns.Count() * (static_cast<double>(rowsDone) / drawing.rows.Count())) /
                       strips);
    }

    std::size_t Width() const { return static_cast<std::size_t>(source.right - source.left); }
    std::uint16_t* LineOf(int j) { return lines.data() + static_cast<std::size_t>(j - inTile.begin) * Width() * 4; }
    std::uint32_t* CarriedOf(int index) { return carriedSums.data() + static_cast<std::size_t>(index) * Width() * 4; }

    struct WideRow {
        int y = -1;
        std::vector<std::uint16_t> pixels;
    };

    const Drawing& drawing;
    TilePixels tile;
    const DrawKernels& kernels;
    RECT source{};                           ///< the pixels that the part shows
    Places inTile{};                         ///< that show pixels of the row of tiles
    Places carried{};                        ///< that showed pixels of the one before, too
    Places leftOver{};                       ///< that show pixels of the next one, too
    std::vector<std::uint16_t> lines;        ///< of each place in the row of tiles
    std::vector<std::uint32_t> carriedSums;  ///< of each carried place
    std::vector<std::uint32_t> sums;
    std::vector<std::uint16_t> drawn;
    WideRow wideRows[2];
};

}  // namespace

void DrawSums(const Drawing& drawing) { SumsDrawer(drawing).Draw(); }

}  // namespace zbm
