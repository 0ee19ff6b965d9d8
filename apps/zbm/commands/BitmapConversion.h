#pragma once
#include <memory>
#include <optional>

#include "shr/IProgress.h"
#include "zbm/ZBasicMemBitmap.h"
#include "zpixf/ZPixFilterBase.h"

namespace tool {

/// The bitmap in another format: its size, tiles and resolution stay, and so does transparency, as alpha or mask.
///
/// Where the format is indexed, grey becomes a ramp of grey, and indices that fit stay what they are; all other colours
/// are quantized, by median8 unless `quantizer` (of zpixf::MakeQuantizer) says otherwise. With a `quantizer` all are.
/// Throws what `progress` throws.
std::unique_ptr<zbm::ZBasicMemBitmap> ConvertBitmap(const zbm::ZBasicMemBitmap& source, shr::ColorFormat format,
                                                    std::optional<zpixf::ZPixfType> quantizer,
                                                    shr::IProgress& progress);

}  // namespace tool
