// Filters run over a bitmap in memory, in place or from another bitmap.
//
// The input is read one row of tiles at a time into a copy, from which the filters pull their lines; so what is written
// into the same bitmap meanwhile is not read again. Each line that comes out goes into the tiles at once. Where the
// copy would make no difference there is none: the copy and its reading cost more than most filters do.
#include <typeinfo>

#include "convert/ZBMColorFormat.h"
#include "core/LockedTile.h"
#include "core/MaskRows.h"
#include "core/WritesFor.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "filter/TileRowSearch.h"
#include "shr/CopyPixelRows.h"
#include "shr/ScopeExit.h"
#include "zbm/CPixFilterPipeline.h"
#include "zbm/ZMemBitmap.h"
#include "zpixf/ZPixfQuantize.h"

namespace zbm {

namespace {

std::uint32_t WidthOf(const RECT& rect) { return static_cast<std::uint32_t>(rect.right - rect.left); }

void GrowToLine(std::vector<std::uint8_t>& line, std::uint32_t width, shr::ColorFormat format) {
    const auto bytes = static_cast<std::size_t>(shr::RowBytes(width, format));
    if (line.size() < bytes) line.resize(bytes);
}

bool HasColorTable(const ZBitmap& bitmap) {
    return bitmap.GetNumColorTableItems() != 0 && shr::ColorFmtToTblSize[bitmap.GetColorFormat()] != 0;
}

/// Whether tiles lie in memory and locking does nothing. A derived class may lock in its own way, and then sees each
/// tile locked once.
bool HasPlainTiles(const ZBitmap& bitmap) {
    return typeid(bitmap) == typeid(ZBasicMemBitmap) || typeid(bitmap) == typeid(ZMemBitmap);
}

// Counted from the first row, which is at hand, as a tile's table of rows would have to be fetched line by line as
// well.
std::uint8_t* RowOf(ZScanRect& tile, int y) { return tile.GetRowPtr(0) + std::ptrdiff_t{tile.GetStride()} * y; }
std::uint8_t* MaskRowOf(ZScanRect& tile, int y) {
    return tile.GetAlphaStride() == 0 ? nullptr : tile.GetAlphaRowPtr(0) + std::ptrdiff_t{tile.GetAlphaStride()} * y;
}

void TakePalette(ZBitmap& bitmap, const zpixf::ZPixFormat& format) {
    if (format.GetColors() == nullptr) return;
    std::vector<shr::Color4b> colors(format.GetNumColors());
    shr::CopyRGBQUADToColor4b(colors.data(), format.GetColors(), format.GetNumColors(), false);
    bitmap.FillColorTable(colors.data(), format.GetNumColors());
}

}  // namespace

bool ZBasicMemBitmap::FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) {
    inputRect = {0, 0, pixelWidth, pixelHeight};
    const zpixf::ZPixFormat format(static_cast<unsigned>(pixelWidth), static_cast<unsigned>(pixelHeight), 4, 8, 0);
    filter.SetInputFormat(format);
    filter.SetOutputFormat(format);
    const CPixFilterContext stage(&filter, &ZBasicMemBitmap::ReadScanLine, this);
    return FilterScanLines(&stage, this, progress);
}

bool ZBasicMemBitmap::FilterScanLines(const CPixFilterContext* context, ZBitmap* input, shr::IProgress* progress) {
    const shr::ScopeExit dropCopy([this] { FreeInputBitmap(); });
    FreeInputBitmap();
    const bool hasNoPixels = pixelWidth == 0 || pixelHeight == 0 || WidthOf(inputRect) == 0;
    if (hasNoPixels && input->GetNumScanRectRows() > 0) return true;
    const int row = FindTileRow(*input, inputRect.top);
    require(row >= 0, BasicMemBitmapCheck::firstInputRow);
    inputBitmap = input;
    const bool readsTiles = HasPlainTiles(*input) && (input != this || context->filter->PullsForward());
    if (!readsTiles) CreateInputScanRectRow(row);
    BeginInputRow(row);
    awaitedInputLine = inputRect.top;

    GrowToLine(inputLine, WidthOf(inputRect), input->GetColorFormat());
    GrowToLine(outputLine, static_cast<std::uint32_t>(pixelWidth), colorFormat);
    GrowToLine(outputLine32, static_cast<std::uint32_t>(pixelWidth), shr::BGRA_32);

    zpixf::ZPixfQuantizeMedian5 quantizer;  // outlives the pipeline
    CPixFilterPipeline pipeline;
    pipeline.progress = progress;
    pipeline.progressLastLine = static_cast<std::uint32_t>(pixelHeight) - 1;
    pipeline.CollectAlphaChanges(!shr::ColorFmtHasAlphaChannel[colorFormat]);
    if (!pipeline.AddPixFilter(*context)) return false;
    const bool quantizes = HasColorTable(*this);
    if (quantizes && !AddQuantizer(pipeline, quantizer, *context->filter)) return false;

    WriteFilteredLines(pipeline, quantizes, progress);
    FreeInputBitmap();
    if (quantizes) TakePalette(*this, quantizer.GetOutputFormat());
    return true;
}

/// The filters give true colours; for an indexed bitmap one more chooses the colours of its table.
bool ZBasicMemBitmap::AddQuantizer(CPixFilterPipeline& pipeline, zpixf::ZPixfQuantize& quantizer,
                                   const zpixf::ZPixFilterBase& former) {
    zpixf::ZPixFormat format;
    InitPixFormat(format, pixelWidth, pixelHeight, colorFormat, colorTable, numColorTableItems);
    quantizer.SetInputFormat(former.GetOutputFormat());
    quantizer.SetOutputFormat(format);
    quantizer.SetDesiredColors(numColorTableItems);
    return pipeline.AddPixFilter(CPixFilterContext(&quantizer, &ZBasicMemBitmap::ReadScanLine, this));
}

void ZBasicMemBitmap::WriteFilteredLines(CPixFilterPipeline& pipeline, bool indexed, shr::IProgress* progress) {
    const auto width = static_cast<std::uint32_t>(pixelWidth);
    const bool converts = !indexed && colorFormat != shr::BGRA_32;
    const shr::ScopeExit finishWrites(&shr::FinishCopyWrites);
    for (int y = 0; y < pixelHeight; ++y) {
        pipeline.FilterScanline(converts ? outputLine32.data() : outputLine.data(), y);
        if (converts)
            ConvertPixels({outputLine.data(), colorFormat, 0}, {outputLine32.data(), shr::BGRA_32, 0}, width, 1);
        SetBitmapScanLine(pipeline.changedAlpha, outputLine.data(), y);
        if (progress != nullptr && y % 100 == 0) progress->SetProgress(static_cast<double>(y) / pixelHeight);
    }
    if (progress != nullptr) progress->SetProgress(1.0);
}

/// What the first stage calls: the context is the stage, whose bitmap holds the state of the filtering.
bool ZBasicMemBitmap::ReadScanLine(void* context, unsigned line, void* buffer) {
    auto* stage = static_cast<CPixFilterContext*>(context);
    auto& self = *static_cast<ZBasicMemBitmap*>(stage->bitmap);
    const ZBitmap& input = *self.inputBitmap;
    const shr::ColorFormat format = input.GetColorFormat();
    const bool converts = format != shr::BGRA_32;
    auto* const read = converts ? self.inputLine.data() : static_cast<std::uint8_t*>(buffer);
    self.GetInputBitmapScanLine(stage, read, static_cast<int>(line));
    if (!converts) return true;
    ConvertPixels({static_cast<std::uint8_t*>(buffer), shr::BGRA_32, 0},
                  {self.inputLine.data(), format, 0, input.GetConstColorTablePtr()}, WidthOf(self.inputRect), 1);
    // Of colours without alpha, opaque pixels are made; then an opaque mask changes nothing.
    const bool isOpaque = shr::ColorFmtToTblSize[format] == 0 && !shr::ColorFmtHasAlphaChannel[format];
    if (stage->maskSupplied && isOpaque && IsMaskRowOpaque(stage->maskRow.data(), WidthOf(self.inputRect)))
        stage->maskSupplied = false;
    return true;
}

void ZBasicMemBitmap::GetInputBitmapScanLine(CPixFilterContext* context, unsigned char* line, int y) {
    const std::int64_t sourceY = std::int64_t{inputRect.top} + y;
    const int row = FindTileRow(*inputBitmap, sourceY, currentInputRow);
    require(row >= 0, BasicMemBitmapCheck::inputRow);
    if (row != currentInputRow) BeginInputRow(row);
    const ZBitmap& tiles = inputRowCopy ? *inputRowCopy : *inputBitmap;
    // The next line is fetched meanwhile, unless lines are left out.
    const bool goesOn = sourceY == awaitedInputLine;
    awaitedInputLine = sourceY + 1;
    const shr::ColorFormat format = inputBitmap->GetColorFormat();
    const bool hasMask = !shr::ColorFmtHasAlphaChannel[format];
    int x = 0;
    for (int col = 0; col < inputBitmap->GetNumScanRects(row); ++col) {
        const RECT box = inputBitmap->GetScanRectBBox(row, col);
        RECT part;
        if (!IntersectRect(&part, &box, &inputRect)) continue;
        const int width = static_cast<int>(part.right - part.left), tileX = static_cast<int>(part.left - box.left);
        const int tileY = static_cast<int>(sourceY - box.top);
        const LockedTile tile(tiles, inputRowCopy ? 0 : row, col);
        const bool fetchesNext = goesOn && tileY + 1 < tile->GetHeight();
        shr::CopyPixelLine({line, 0, x}, {RowOf(*tile, tileY), fetchesNext ? tile->GetStride() : 0, tileX}, width,
                           format, shr::CopyWrites::cached);
        context->maskSupplied = context->usesInputAlpha && hasMask;
        if (context->maskSupplied)
            shr::CopyPixelLine({context->maskRow.data(), 0, x},
                               {MaskRowOf(*tile, tileY), fetchesNext ? tile->GetAlphaStride() : 0, tileX}, width,
                               shr::GRAYSCALE_1, shr::CopyWrites::cached);
        x += width;
    }
}

void ZBasicMemBitmap::SetBitmapScanLine(const std::vector<unsigned char>& alpha, const unsigned char* line, int y) {
    const int row = FindTileRow(*this, y, y / scanRectHeight);
    require(row >= 0, BasicMemBitmapCheck::outputRow);
    // A line that was just read from where it is written now is in the caches.
    const auto writes = inputBitmap == this ? shr::CopyWrites::cached : WritesFor(pixelWidth, pixelHeight, colorFormat);
    int x = 0;
    for (int col = 0; col < GetNumScanRects(row); ++col) {
        const LockedTile tile(*this, row, col);
        const int tileY = y - static_cast<int>(GetScanRectBBox(row, col).top), width = tile->GetWidth();
        shr::CopyPixelLine({RowOf(*tile, tileY), 0, 0}, {line, 0, x}, width, tile->GetColorFormat(), writes);
        std::uint8_t* const maskRow = alpha.empty() ? nullptr : MaskRowOf(*tile, tileY);
        if (maskRow != nullptr) shr::CopyPixels(maskRow, 0, alpha.data(), x, width, shr::GRAYSCALE_1);
        x += width;
        CommitScanRect(row, col);
    }
}

/// Where there is a copy, it becomes that of another row.
void ZBasicMemBitmap::BeginInputRow(int row) {
    if (inputRowCopy) {
        const RECT box = inputBitmap->GetScanRectBBox(row, 0);
        if (box.bottom - box.top != inputRowCopy->GetPixelHeight()) CreateInputScanRectRow(row);
        ReadInputScanRectRow(row);
    }
    currentInputRow = row;
}

void ZBasicMemBitmap::CreateInputScanRectRow(int row) {
    const RECT box = inputBitmap->GetScanRectBBox(row, 0);
    FreeInputBitmap();
    inputRowCopy = std::make_unique<ZBasicMemBitmap>(
        inputBitmap->GetPixelWidth(), static_cast<int>(box.bottom - box.top), inputBitmap->GetColorFormat(),
        inputBitmap->GetScanRectWidth(), inputBitmap->GetScanRectHeight());
}

void ZBasicMemBitmap::ReadInputScanRectRow(int row) {
    for (int col = 0; col < inputBitmap->GetNumScanRects(row); ++col) {
        const LockedTile from(*inputBitmap, row, col);
        const LockedTile to(*inputRowCopy, 0, col);
        *to = *from;
        inputRowCopy->CommitScanRect(0, col);
    }
}

void ZBasicMemBitmap::FreeInputBitmap() noexcept {
    inputRowCopy.reset();
    currentInputRow = -1;
}

}  // namespace zbm
