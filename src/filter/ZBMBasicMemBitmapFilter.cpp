// Filters run over a bitmap in memory, in place or from another bitmap. Each line that comes out goes into the tiles at
// once.
#include "core/WritesFor.h"
#include "core/checks/BasicMemBitmapChecks.h"
#include "filter/FilterRun.h"
#include "filter/TileRows.h"
#include "zbm/ZBasicMemBitmap.h"

namespace zbm {

namespace {

constexpr FilterFamily kFamily{
    .firstRow = BasicMemBitmapCheck::firstInputRow,
    .inputRow = BasicMemBitmapCheck::inputRow,
    .outputRow = BasicMemBitmapCheck::outputRow,
    .quantizer = zpixf::ZPixfType::QuantizeMedian5,
};

/// A line that was just read from where it is written now is in the caches.
shr::CopyWrites WritesInto(const ZBitmap& bitmap, const ZBitmap* input) {
    if (input == &bitmap) return shr::CopyWrites::cached;
    return WritesFor(bitmap.GetPixelWidth(), bitmap.GetPixelHeight(), bitmap.GetColorFormat());
}

}  // namespace

bool ZBasicMemBitmap::FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) {
    filterState.inputRect = {0, 0, pixelWidth, pixelHeight};
    SetTrueColors(filter, {pixelWidth, pixelHeight}, {pixelWidth, pixelHeight});
    const CPixFilterContext stage(&filter, &ZBasicMemBitmap::ReadScanLine, this);
    return FilterScanLines(&stage, this, progress);
}

bool ZBasicMemBitmap::FilterScanLines(const CPixFilterContext* context, ZBitmap* input, shr::IProgress* progress) {
    TileSink sink(kFamily, *this, WritesInto(*this, input));
    return FilterRun(kFamily, filterState, *this, sink).Run(*input, {context, 1}, progress);
}

/// What the first stage calls: the context is the stage, whose bitmap holds the state of the run.
bool ZBasicMemBitmap::ReadScanLine(void* context, unsigned line, void* buffer) {
    auto& stage = *static_cast<CPixFilterContext*>(context);
    auto& self = static_cast<ZBasicMemBitmap&>(*stage.bitmap);
    self.InputLines().ReadAsBgra(stage, static_cast<std::uint8_t*>(buffer), static_cast<int>(line));
    return true;
}

LineSource ZBasicMemBitmap::InputLines() noexcept { return LineSource(kFamily, filterState); }

void ZBasicMemBitmap::GetInputBitmapScanLine(CPixFilterContext* context, unsigned char* line, int y) {
    InputLines().Read(*context, line, y);
}
void ZBasicMemBitmap::SetBitmapScanLine(const std::vector<unsigned char>& alpha, const unsigned char* line, int y) {
    TileSink(kFamily, *this, WritesInto(*this, filterState.inputBitmap)).Write(alpha, line, y);
}
void ZBasicMemBitmap::CreateInputScanRectRow(int row) { InputLines().CreateRowCopy(row); }
void ZBasicMemBitmap::ReadInputScanRectRow(int row) { InputLines().LoadRowCopy(row); }
void ZBasicMemBitmap::FreeInputBitmap() noexcept { InputLines().Free(); }

}  // namespace zbm
