#include "filter/LineSource.h"

#include "convert/ZBMColorFormat.h"
#include "core/MaskRows.h"
#include "core/TileReading.h"
#include "filter/TileRows.h"
#include "shr/CopyPixelRows.h"

namespace zbm {

void LineSource::Begin(ZBitmap& input, RowCopy copy) {
    const int row = FindTileRow(input, state.inputRect.top);
    require(row >= 0, family.firstRow);
    state.inputBitmap = &input;
    state.awaitedInputLine = state.inputRect.top;
    if (copy == RowCopy::onDemand) return;
    if (copy == RowCopy::needed) CreateRowCopy(row);
    BeginRow(row);
}

void LineSource::BeginRow(int row) {
    if (!state.inputRowCopy && !StayInMemory(*state.inputBitmap)) CreateRowCopy(row);
    if (state.inputRowCopy) {
        const RECT box = state.inputBitmap->GetScanRectBBox(row, 0);
        if (box.bottom - box.top != state.inputRowCopy->GetPixelHeight()) CreateRowCopy(row);
        LoadRowCopy(row);
    }
    state.currentInputRow = row;
}

void LineSource::CreateRowCopy(int row) {
    Free();
    state.inputRowCopy = MakeTileRowCopy(*state.inputBitmap, row);
}

void LineSource::LoadRowCopy(int row) { LoadTileRow(*state.inputBitmap, row, *state.inputRowCopy); }

void LineSource::Free() noexcept {
    state.inputRowCopy.reset();
    state.currentInputRow = -1;
}

void LineSource::ReadAsBgra(CPixFilterContext& stage, std::uint8_t* line, int y) {
    const ZBitmap& input = *state.inputBitmap;
    const shr::ColorFormat format = input.GetColorFormat();
    if (format == shr::BGRA_32) return Read(stage, line, y);
    const auto width = static_cast<std::uint32_t>(state.inputRect.right - state.inputRect.left);
    Read(stage, state.inputLine.data(), y);
    ConvertPixels({line, shr::BGRA_32, 0}, {state.inputLine.data(), format, 0, input.GetConstColorTablePtr()}, width,
                  1);
    // Of colours without alpha, opaque pixels are made; then an opaque mask changes nothing.
    const bool isOpaque = shr::ColorFmtToTblSize[format] == 0 && !shr::ColorFmtHasAlphaChannel[format];
    if (stage.maskSupplied && isOpaque && IsMaskRowOpaque(stage.maskRow.data(), width)) stage.maskSupplied = false;
}

void LineSource::Read(CPixFilterContext& stage, std::uint8_t* line, int y) {
    const ZBitmap& input = *state.inputBitmap;
    const std::int64_t sourceY = std::int64_t{state.inputRect.top} + y;
    const int row = FindTileRow(input, sourceY, state.currentInputRow);
    require(row >= 0, family.inputRow);
    if (row != state.currentInputRow) BeginRow(row);
    const ZBitmap& tiles = state.inputRowCopy ? *state.inputRowCopy : input;
    const TileReading* const reading = FindTileReading(tiles);
    // The next line is fetched meanwhile, unless lines are left out.
    const bool goesOn = sourceY == state.awaitedInputLine;
    state.awaitedInputLine = sourceY + 1;
    int x = 0;
    for (int col = 0; col < input.GetNumScanRects(row); ++col) {
        const RECT box = input.GetScanRectBBox(row, col);
        RECT part;
        if (!IntersectRect(&part, &box, &state.inputRect)) continue;
        const int width = static_cast<int>(part.right - part.left), tileX = static_cast<int>(part.left - box.left);
        const int tileY = static_cast<int>(sourceY - box.top);
        const ZScanRect& tile = reading->resident(tiles, state.inputRowCopy ? 0 : row, col);
        const bool fetchesNext = goesOn && tileY + 1 < tile.GetHeight();
        shr::CopyPixelLine({line, 0, x}, {RowOf(tile, tileY), fetchesNext ? tile.GetStride() : 0, tileX}, width,
                           tile.GetColorFormat(), shr::CopyWrites::cached);
        const std::uint8_t* const maskRow = MaskRowOf(tile, tileY);
        stage.maskSupplied = stage.usesInputAlpha && maskRow != nullptr;
        if (stage.maskSupplied)
            shr::CopyPixelLine({stage.maskRow.data(), 0, x}, {maskRow, fetchesNext ? tile.GetAlphaStride() : 0, tileX},
                               width, shr::GRAYSCALE_1, shr::CopyWrites::cached);
        x += width;
    }
}

}  // namespace zbm
