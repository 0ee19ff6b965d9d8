#pragma once
#include <memory>
#include <optional>

#include "commands/Workplace.h"
#include "shr/IProgress.h"
#include "zbm/IndexedColors.h"

namespace tool {

/// The bitmap in another format: its size, tiles and resolution stay, and so does transparency, as alpha or mask.
///
/// Where the format is indexed, grey becomes a ramp of grey, and indices that fit stay what they are; all other colours
/// are converted as `colors` says. Where such a choice is given all are. Throws what `progress` throws.
BitmapPtr ConvertBitmap(const zbm::ZBitmap& source, shr::ColorFormat format,
                        const std::optional<zbm::IndexedColors>& colors, Workplace& place, shr::IProgress& progress);

}  // namespace tool
