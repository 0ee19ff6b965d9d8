#pragma once
#include <memory>
#include <optional>

#include "commands/Workplace.h"
#include "shr/IProgress.h"
#include "zpixf/ZPixFilterBase.h"

namespace tool {

/// How the colours of an indexed format are found.
struct ColorChoice {
    std::optional<zpixf::ZPixfType> quantizer;  ///< of zpixf::MakeQuantizer; median8 if not given
    std::optional<unsigned> most;               ///< how many at most; as many as the format holds if not given

    bool IsGiven() const { return quantizer || most; }
};

/// The bitmap in another format: its size, tiles and resolution stay, and so does transparency, as alpha or mask.
///
/// Where the format is indexed, grey becomes a ramp of grey, and indices that fit stay what they are; all other colours
/// are quantized. Where a choice of colours is given all are. Throws what `progress` throws.
BitmapPtr ConvertBitmap(const zbm::ZBitmap& source, shr::ColorFormat format, const ColorChoice& colors,
                        Workplace& place, shr::IProgress& progress);

}  // namespace tool
