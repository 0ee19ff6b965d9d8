// Filters run over bitmaps in files: what comes out is put together to whole rows of tiles before it reaches the file.
#include "convert/ZBMColorFormat.h"
#include "core/checks/FileBitmapChecks.h"
#include "filter/FilterRun.h"
#include "zbm/ZFileBitmap.h"

namespace zbm {

namespace {

constexpr FilterFamily kFamily{
    .firstRow = FileBitmapCheck::firstInputRow,
    .inputRow = FileBitmapCheck::inputRow,
    .outputRow = FileBitmapCheck::outputRow,
    .quantizer = zpixf::ZPixfType::QuantizeMedian8,
};

}  // namespace

class ZFileBitmap::FileSink final : public RowSink {
public:
    FileSink(OutputRowState& rowState, ZFileBitmap& destination) noexcept
        : RowSink(kFamily, rowState, destination), output(destination) {}

private:
    void Deliver(const ZScanRect& tile, int row, int col) override { output.WriteScanRect(tile, row, col); }

    ZFileBitmap& output;
};

bool ZFileBitmap::FilterScanLines(zpixf::ZPixFilterBase& filter, shr::IProgress* progress) {
    return FilterFrom(*this, {0, 0, pixelWidth, pixelHeight}, filter, progress);
}

bool ZFileBitmap::FilterFrom(ZBitmap& source, const RECT& rect, zpixf::ZPixFilterBase& filter,
                             shr::IProgress* progress) {
    filterState.inputRect = rect;
    SetTrueColors(filter, {rect.right - rect.left, rect.bottom - rect.top}, {pixelWidth, pixelHeight});
    const CPixFilterContext stage(&filter, &ZFileBitmap::ReadScanLine, this);
    return FilterScanLines(&stage, &source, this, progress);
}

bool ZFileBitmap::FilterScanLines(const CPixFilterContext* context, ZBitmap* input, ZFileBitmap* output,
                                  shr::IProgress* progress) {
    outputRowState.outputBitmap = output;
    FileSink sink(outputRowState, *output);
    return FilterRun(kFamily, filterState, *output, sink).Run(*input, {context, 1}, progress);
}

/// What the first stage calls: the context is the stage, whose bitmap holds the state of the run.
bool ZFileBitmap::ReadScanLine(void* context, unsigned line, void* buffer) {
    auto& stage = *static_cast<CPixFilterContext*>(context);
    auto& self = static_cast<ZFileBitmap&>(*stage.bitmap);
    LineSource(kFamily, self.filterState).ReadAsBgra(stage, static_cast<std::uint8_t*>(buffer), static_cast<int>(line));
    return true;
}

void ZFileBitmap::GetInputBitmapScanLine(CPixFilterContext* context, unsigned char* line, int y) {
    LineSource(kFamily, filterState).Read(*context, line, y);
}
void ZFileBitmap::CreateInputScanRectRow(int row) { LineSource(kFamily, filterState).CreateRowCopy(row); }
void ZFileBitmap::ReadInputScanRectRow(int row) { LineSource(kFamily, filterState).LoadRowCopy(row); }
void ZFileBitmap::FreeInputBitmap() noexcept { LineSource(kFamily, filterState).Free(); }

void ZFileBitmap::SetOutputBitmapScanLine(const std::vector<unsigned char>& alpha, const unsigned char* line, int y) {
    FileSink(outputRowState, *this).Write(alpha, line, y);
}
void ZFileBitmap::CreateOutputScanRectRow(int row) { FileSink(outputRowState, *this).CreateRow(row); }
void ZFileBitmap::WriteOutputScanRectRow(int row) { FileSink(outputRowState, *this).DeliverRow(row); }
void ZFileBitmap::FreeOutputBitmap() noexcept { FileSink(outputRowState, *this).Free(); }

}  // namespace zbm
