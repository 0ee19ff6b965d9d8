// A tile as a DIB: its contents for drawing, and its mask.
#include "core/MaskRows.h"
#include "core/checks/ScanRectChecks.h"
#include "device/DibExport.h"
#include "shr/Dib.h"
#include "zbm/ZScanRect.h"

namespace zbm {

void ZScanRect::GetContents(shr::CDib& dib, int xResolution, int yResolution, const shr::Color4b* colorTable,
                            unsigned numColors) {
    require(shr::IsColorFormat(colorFormat), ScanRectCheck::contentsFormat);
    const BITMAPINFOHEADER header = DibHeader(colorFormat, width, height, xResolution, yResolution, numColors);
    const DibTable table(colorFormat, colorTable, numColors);
    const auto cached = shr::CopyWrites::cached;
    switch (colorFormat) {
        case shr::GRAYSCALE_16:
        case shr::GRAYSCALE_32:
            // Each row would be written over the one before it.
            dib.Create(header, table.Entries(), nullptr);
            return ExportPixels({dib.GetWritableBits(), shr::GRAYSCALE_8, 0}, {GetRowPtr(height - 1), colorFormat, 0},
                                width, 1, cached);
        case shr::BGRA_32:
        case shr::RGBA_32:
        case shr::PBGRA_32: {
            const shr::ColorFormat written = colorFormat == shr::RGBA_32 ? shr::BGRA_32 : shr::BGRX_32;
            dib.CreateForOverwrite(header, table.Entries());
            return ExportPixels({dib.GetWritableBits(), written, dib.GetStride()},
                                {GetRowPtr(0), colorFormat, GetStride()}, width, height, cached);
        }
        default: dib.Create(header, table.Entries(), pixels.Data());
    }
}

void ZScanRect::CreateMonoAlphaMask(shr::CDib& dib) const {
    constexpr RGBQUAD kBlackAndWhite[] = {{0, 0, 0, 0}, {255, 255, 255, 0}};
    dib.Create(width, height, 1, 2, kBlackAndWhite, alpha.Data(), -1, -1);
    if (!alpha.IsEmpty()) return;
    for (int row = 0; row < height; ++row)
        PackMaskRow(dib.GetWritableBits() + dib.GetPixelOffset(0, height - 1 - row), 0, GetRowPtr(row),
                    static_cast<std::size_t>(width));
}

}  // namespace zbm
