// Sums of pixels: columns of a tile are summed first, since there all channels of a row are treated alike, then rows.
//
//     tile ──► fine pixels ──► sums of columns ──► lines ──► sums of rows ──► surface
//
// A tile is read once: what a place of the surface shows of the next row of tiles is added to its sums later. Sums are
// of whole numbers, so the order in which tiles come changes nothing.
#include <algorithm>
#include <cstring>
#include <iterator>

#include "draw/Drawing.h"
#include "shr/Fetch.h"

namespace zbm {

namespace {

// What lines may take where tiles can be read again at no cost, and where not.
constexpr std::size_t kBytesAtHand = std::size_t{256} << 10, kBytesOnce = std::size_t{32} << 20;
constexpr std::size_t kFineBytes = 4 * sizeof(std::uint16_t);
// What is read behind a line's last pixel: channels of pixels without weight.
constexpr std::size_t kReadBehind = 4 * (2 * kMostPairs - 1);

/// Places from `begin` up to `end`.
struct Places {
    int begin, end;
    int Count() const { return end - begin; }
};

class SumsDrawer {
public:
    explicit SumsDrawer(const Drawing& drawingOfSums)
        : drawing(drawingOfSums), tile(drawingOfSums.bitmap), kernels(ActiveDrawKernels().fine) {}

    void Draw() { tile.AreAtHand() ? DrawInBands() : DrawInStrips(); }

private:
    void DrawInBands() {
        const Places all{0, drawing.columns.Count()};
        const RECT shown = drawing.Source(0, all.end, 0, drawing.rows.Count());
        const auto lineBytes = static_cast<std::size_t>(shown.right - shown.left) * kFineBytes;
        const int most = static_cast<int>(std::max<std::size_t>(1, kBytesAtHand / lineBytes));
        for (int begin = 0, end; begin < drawing.rows.Count(); begin = end) {
            end = begin + std::min(most, drawing.rows.Count() - begin);
            DrawPart(all, {begin, end});
        }
    }

    void DrawInStrips() {
        const std::size_t rowsBytes = static_cast<std::size_t>(MostRowsOfATile()) * kFineBytes;
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
            lines.resize(static_cast<std::size_t>(inTile.Count()) * Width() * 4 + kReadBehind);
            carriedSums.resize(std::max(carriedSums.size(), static_cast<std::size_t>(leftOver.Count()) * Width() * 4));
            for (int col = firstCol; col < endCol; ++col) AddTile(row, col);
            for (int j = inTile.begin; j < leftOver.begin; ++j) DrawLine(columns, j);
            carried = leftOver;
            if (showing.end <= rows.end) Report(columns, box);
        });
    }

    void AddTile(int row, int col) {
        const RECT box = drawing.bitmap.GetScanRectBBox(row, col);
        RECT part;
        IntersectRect(&part, &box, &source);
        const auto width = static_cast<std::size_t>(part.right - part.left);
        sums.resize(width * 4);
        for (FineRow& fine : fineRows) fine.y = -1;
        for (OpaqueRow& opaque : opaqueRows) opaque.y = -1;
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
            std::memcpy(line, Fine(tap.first, width), channels * sizeof *line);
            return;
        }
        const int begin = std::max(tap.first, static_cast<int>(part.top)),
                  end = std::min(tap.first + tap.count, static_cast<int>(part.bottom));
        if (drawing.rows.IsBlended() && end - begin == tap.count) return BlendRows(line, j, width);
        if (j < carried.end)
            std::copy_n(CarriedOf(j - carried.begin) + x, channels, sums.data());
        else
            std::fill(sums.begin(), sums.end(), 0u);
        const auto rowAt = [&](int y) -> WeightedRow { return {Fine(y, width), drawing.rows.WeightOf(j, y)}; };
        for (int y = begin; y < end; y += 2) {
            const WeightedRow a = rowAt(y), b = y + 1 < end ? rowAt(y + 1) : WeightedRow{a.fine, 0};
            kernels.accumulate(sums.data(), a, b, drawing.rows.SummedAs(), width);
        }
        if (j < leftOver.begin)
            kernels.divide(line, sums.data(), tap.reciprocal, drawing.rows.SummedAs(), width);
        else
            std::copy_n(sums.data(), channels, CarriedOf(j - leftOver.begin) + x);
    }

    /// All that place `j` shows is in the tile.
    void BlendRows(std::uint16_t* line, int j, std::size_t width) {
        const Tap& tap = drawing.rows[j];
        const std::int16_t* const weights = drawing.rows.Weights(j);
        const std::uint8_t* opaque[2 * kMostPairs];
        std::fill(std::begin(opaque), std::end(opaque), Opaque(tap.first));
        bool areOpaque = opaque[0] != nullptr;
        for (int k = 1; k < tap.count && areOpaque; ++k) areOpaque = (opaque[k] = Opaque(tap.first + k)) != nullptr;
        if (areOpaque) return kernels.blendOpaqueRows(line, opaque, weights, drawing.rows.Pairs(), width);
        const std::uint16_t* rows[2 * kMostPairs];
        std::fill(std::begin(rows), std::end(rows), Fine(tap.first, width));
        for (int k = 1; k < tap.count; ++k) rows[k] = Fine(tap.first + k, width);
        kernels.blendRows(line, rows, weights, drawing.rows.Pairs(), width);
    }

    /// A row of the tile that is opaque and needs no conversion; else null.
    const std::uint8_t* Opaque(int y) {
        OpaqueRow& row = opaqueRows[static_cast<std::size_t>(y) % std::size(opaqueRows)];
        if (row.y != y) row = {y, tile.FindOpaque(y)};
        return row.pixels;
    }

    /// A row of the tile. As many before it as are blended stay as well.
    const std::uint16_t* Fine(int y, std::size_t width) {
        FineRow& row = fineRows[static_cast<std::size_t>(y) % std::size(fineRows)];
        if (row.y == y) return row.pixels.data();
        row.pixels.resize(4 * width);
        tile.Refine(y, row.pixels.data());
        row.y = y;
        return row.pixels.data();
    }

    void DrawLine(const Places& columns, int j) {
        const auto count = static_cast<std::size_t>(columns.Count());
        drawn.resize(4 * count);
        shr::FetchForWriting(drawing.surface.At(drawing.columns.Begin() + columns.begin, drawing.rows.Begin() + j),
                             4 * count);
        const auto origin = static_cast<std::int32_t>(source.left);
        const Tap* const taps = &drawing.columns[columns.begin];
        if (drawing.columns.IsHalving())
            kernels.halveColumns(drawn.data(), LineOf(j) + 4 * std::ptrdiff_t{taps[0].first - origin}, count);
        else if (drawing.columns.IsBlended())
            kernels.blendColumns(drawn.data(), LineOf(j), origin, taps, drawing.columns.Weights(columns.begin),
                                 drawing.columns.Pairs(), count);
        else
            kernels.average(drawn.data(), LineOf(j), origin, taps, drawing.columns.Unit(), drawing.columns.SummedAs(),
                            count);
        drawing.surface.DrawFine(drawing.columns.Begin() + columns.begin, drawing.rows.Begin() + j, drawn.data(),
                                 count);
    }

    /// After the last look at a row of tiles.
    void Report(const Places& columns, const RECT& rowOfTiles) const {
        const RECT shown = drawing.Source(0, drawing.columns.Count(), 0, drawing.rows.Count());
        const double end = static_cast<double>(std::min(rowOfTiles.bottom, shown.bottom));
        const double ofStrip = (end - static_cast<double>(shown.top)) / static_cast<double>(shown.bottom - shown.top);
        drawing.Report((columns.begin + columns.Count() * ofStrip) / drawing.columns.Count());
    }

    std::size_t Width() const { return static_cast<std::size_t>(source.right - source.left); }
    std::uint16_t* LineOf(int j) { return lines.data() + static_cast<std::size_t>(j - inTile.begin) * Width() * 4; }
    std::uint32_t* CarriedOf(int index) { return carriedSums.data() + static_cast<std::size_t>(index) * Width() * 4; }

    struct FineRow {
        int y = -1;
        std::vector<std::uint16_t> pixels;
    };

    struct OpaqueRow {
        int y = -1;
        const std::uint8_t* pixels = nullptr;
    };

    const Drawing& drawing;
    TilePixels tile;
    const FineKernels& kernels;
    RECT source{};                           ///< the pixels that the part shows
    Places inTile{};                         ///< that show pixels of the row of tiles
    Places carried{};                        ///< that showed pixels of the one before, too
    Places leftOver{};                       ///< that show pixels of the next one, too
    std::vector<std::uint16_t> lines;        ///< of each place in the row of tiles
    std::vector<std::uint32_t> carriedSums;  ///< of each carried place
    std::vector<std::uint32_t> sums;
    std::vector<std::uint16_t> drawn;
    FineRow fineRows[2 * kMostPairs];
    OpaqueRow opaqueRows[2 * kMostPairs];
};

}  // namespace

void DrawSums(const Drawing& drawing) { SumsDrawer(drawing).Draw(); }

}  // namespace zbm
