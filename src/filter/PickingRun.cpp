#include "filter/PickingRun.h"

#include <algorithm>
#include <cstring>

#include "shr/Fetch.h"

namespace zbm {

namespace {

bool LiesIn(const RECT& rect, const ZBitmap& bitmap) {
    return rect.left >= 0 && rect.top >= 0 && rect.right <= bitmap.GetPixelWidth() &&
           rect.bottom <= bitmap.GetPixelHeight();
}

std::size_t BytesOf(const TileBlock<const ZScanRect>& line) {
    return static_cast<std::size_t>(shr::RowBytes(static_cast<std::uint32_t>(line.width), line.tile.GetColorFormat()));
}

bool IsOfSize(const zpixf::ZPixFormat& format, LONG width, LONG height) {
    return format.GetWidth() == static_cast<unsigned>(width) && format.GetHeight() == static_cast<unsigned>(height);
}

}  // namespace

bool PickingRun::Suits(const FilterTask& task) {
    const auto& [input, rect, output, stages, quantizer, sink] = task;
    if (stages.size() != 1 || &input == &output || !ReachesTiles(input, sink) || !StayInMemory(input)) return false;
    const zpixf::ZPixFilterBase& filter = *stages[0].filter;
    return filter.AsPicking() != nullptr && LiesIn(rect, input) &&
           IsOfSize(filter.GetInputFormat(), rect.right - rect.left, rect.bottom - rect.top) &&
           IsOfSize(filter.GetOutputFormat(), output.GetPixelWidth(), output.GetPixelHeight()) &&
           output.GetScanRectWidth() % 8 == 0 && shr::ColorFmtToTblSize[output.GetColorFormat()] == 0;
}

PickingRun::PickingRun(const FilterTask& task, CPixFilterPipeline& pipeline)
    : BlockRun(task),
      left(task.inputRect.left),
      top(task.inputRect.top),
      filter(*pipeline.stages[0].filter->AsPicking()),
      isStreamed(output.GetColorFormat() == shr::BGRA_32 && task.sink.Writes() == shr::CopyWrites::streamed),
      tiles(input) {}

/// From the last rows to the first, as memory goes on.
void PickingRun::Change(ZScanRect& tile, int row, int col, int first, int end) {
    const RECT box = output.GetScanRectBBox(row, col);
    const int width = tile.GetWidth();
    for (int x = 0; x < width; x += kMostBlockPixels) {
        const int columns = std::min(width - x, kMostBlockPixels), mostRows = kMostBlockPixels / columns;
        const POINT place{box.left + x, box.top};
        FindParts(static_cast<int>(place.x), static_cast<int>(place.x) + columns);
        for (int rest = end; rest > first;) {
            const int rows = std::min(mostRows, rest - first);
            rest -= rows;
            const TileBlock<ZScanRect> to{tile, x, rest, columns, rows};
            const POINT begin{place.x, place.y + rest};
            if (isStreamed)
                StreamLines(to, begin);
            else
                Write(to, [&](std::uint8_t* out, std::ptrdiff_t stride) { PickLines(to, begin, out, stride); });
        }
    }
}

void PickingRun::FindParts(int first, int end) {
    parts.clear();
    const int tileWidth = input.GetScanRectWidth();
    while (first < end) {
        const int col = static_cast<int>(ColumnUnder(first)) / tileWidth;
        int partEnd = first + 1;
        while (partEnd < end && ColumnUnder(partEnd) / tileWidth == col) ++partEnd;
        parts.push_back({col, first, partEnd});
        first = partEnd;
    }
}

/// `place` is that of the block in the result. A line that is the same as that below it is copied.
void PickingRun::PickLines(const TileBlock<ZScanRect>& to, POINT place, std::uint8_t* out, std::ptrdiff_t stride) {
    const std::size_t width = std::size_t{4} * static_cast<unsigned>(to.width);
    LONG line = LineUnder(place.y + to.height - 1);
    const std::uint8_t* below = nullptr;
    for (LONG y = to.height - 1; y >= 0; --y, out += stride) {
        const LONG next = LineUnder(std::max(place.y + y - 1, LONG{0}));
        if (below != nullptr)
            std::memcpy(out, below, width);
        else
            PickLine(line, next, out);
        below = next == line ? out : nullptr;
        line = next;
    }
}

/// The same past the caches: each line is picked once, within them, and brought wherever it is the same.
void PickingRun::StreamLines(const TileBlock<ZScanRect>& to, POINT place) {
    picked.resize(std::max(picked.size(), std::size_t{4} * static_cast<unsigned>(to.width)));
    std::uint8_t* out = to.First();
    LONG current = -1;
    for (LONG y = to.height - 1; y >= 0; --y, out += to.Stride()) {
        const LONG line = LineUnder(place.y + y);
        if (line != current) PickLine(current = line, LineUnder(std::max(place.y + y - 1, LONG{0})), picked.data());
        shr::CopyPixelLine({out, 0, 0}, {picked.data(), 0, 0}, to.width, shr::BGRA_32, shr::CopyWrites::streamed);
    }
}

void PickingRun::PickLine(LONG inputLine, LONG nextLine, std::uint8_t* out) {
    const int firstColumn = parts.front().first;
    for (const Part& part : parts)
        PickPart(part, inputLine, nextLine, out + std::ptrdiff_t{4} * (part.first - firstColumn));
}

/// What is picked next is fetched meanwhile, as far as it lies in the same tile.
void PickingRun::PickPart(const Part& part, LONG inputLine, LONG nextLine, std::uint8_t* out) {
    const int row = static_cast<int>(inputLine) / input.GetScanRectHeight();
    const RECT box = input.GetScanRectBBox(row, part.col);
    const ZScanRect& tile = tiles.At(row, part.col);
    const int y = static_cast<int>(inputLine - box.top);
    // (From a multiple of 8 on, where bytes of packed pixels and masks begin.)
    const int from = static_cast<int>(ColumnUnder(part.first) - box.left) / 8 * 8;
    const int width = static_cast<int>(ColumnUnder(part.end - 1) - box.left) + 1 - from;
    const TileBlock<const ZScanRect> block{tile, from, y, width, 1};
    if (nextLine >= box.top && nextLine != inputLine)
        shr::FetchForReading(block.First() + (inputLine - nextLine) * block.Stride(), BytesOf(block));
    filter.Pick(static_cast<unsigned>(part.first), static_cast<std::size_t>(part.end - part.first), Read(block).first,
                static_cast<int>(box.left) + from - static_cast<int>(left), out);
}

}  // namespace zbm
