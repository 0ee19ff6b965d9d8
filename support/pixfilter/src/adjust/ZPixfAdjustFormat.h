#pragma once
#include "zpixf/ZPixFormat.h"

namespace zpixf {

/// Why a filter that keeps the picture's size cannot work between two formats; null if it can.
inline const wchar_t* WhyNotAdjusted(const ZPixFormat& input, const ZPixFormat& output) {
    for (const ZPixFormat* format : {&input, &output})
        if (format->GetChannels() != 4 || format->GetBitsPerChannel() != 8 || format->GetNumColors() != 0)
            return L"The filter takes and gives 4 channels of 8 bits.";
    if (input.GetWidth() != output.GetWidth() || input.GetHeight() != output.GetHeight())
        return L"Input and output of the filter differ in size.";
    return nullptr;
}

}  // namespace zpixf
