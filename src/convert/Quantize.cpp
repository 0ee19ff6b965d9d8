#include "convert/Quantize.h"

#include "shr/Exception.h"
#include "shr/ScopeExit.h"
#include "zpixf/MakeQuantizer.h"

namespace zbm {
namespace {

/// Gives rows of the source as BGRA_32.
struct RowReader {
    const ConstPixelRows& src;
    std::uint32_t width;

    static bool Read(void* reader, unsigned line, void* buffer) {
        const auto& [src, width] = *static_cast<const RowReader*>(reader);
        const ConstPixelRows row{src.first + static_cast<std::ptrdiff_t>(line) * src.stride, src.format, src.stride,
                                 src.colorTable};
        ConvertPixels({static_cast<std::uint8_t*>(buffer), shr::BGRA_32, 0}, row, width, 1);
        return true;
    }
};

/// The whole table, black beyond the palette's entries.
void FillColorTable(const PixelRows& dst, const zpixf::ZPixFormat& format) {
    if (format.GetColors() == nullptr || dst.colorTable == nullptr) return;
    const auto count = static_cast<unsigned>(shr::ColorFmtToTblSize[dst.format]);
    shr::CopyRGBQUADToColor4b(dst.colorTable, format.GetColors(), count, false);
}

}  // namespace

zpixf::ZPixfType QuantizerOf(QuantMethod method, Check isMethod) {
    switch (method) {
        case QuantMedian5: return zpixf::ZPixfType::QuantizeMedian5;
        case QuantMedian8: return zpixf::ZPixfType::QuantizeMedian8;
        case QuantPopularity: return zpixf::ZPixfType::QuantizePopularity;
    }
    require.Fail(isMethod);
}

void RaiseErrorOf(const zpixf::ZPixFilterBase& filter) {
    throw shr::Exception(filter.GetErrorModule(), filter.GetErrorFile(), filter.GetErrorLine(),
                         filter.GetErrorDescription(), false);
}

void QuantizeThrough(zpixf::ZPixFilterBase& filter, const PixelRows& dst, const ConstPixelRows& src,
                     std::uint32_t width, std::uint32_t height) {
    RowReader reader{src, width};
    const shr::ScopeExit stop([&] { filter.Stop(); });
    filter.SetInputFormat(zpixf::ZPixFormat(width, height, 4, 8, 0));
    filter.SetOutputFormat(zpixf::ZPixFormat(width, height, 1, static_cast<unsigned>(shr::ColorFmtToBPP[dst.format]),
                                             static_cast<unsigned>(shr::ColorFmtToTblSize[dst.format])));
    filter.SetScanLineFunction(&RowReader::Read, &reader);
    bool succeeds = filter.Start();
    if (succeeds) FillColorTable(dst, filter.GetOutputFormat());
    for (std::uint32_t y = 0; y < height; ++y)
        succeeds &= filter.FilterScanline(y, dst.first + static_cast<std::ptrdiff_t>(y) * dst.stride);
    if (!succeeds) RaiseErrorOf(filter);
}

void Quantize(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
              zpixf::ZPixfType quantizer) {
    if (width == 0 || height == 0) return;
    const auto colors = static_cast<unsigned>(shr::ColorFmtToTblSize[dst.format]);
    if (const auto filter = zpixf::MakeQuantizer(quantizer, colors)) QuantizeThrough(*filter, dst, src, width, height);
}

}  // namespace zbm
