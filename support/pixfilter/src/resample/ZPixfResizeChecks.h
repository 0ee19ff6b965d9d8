#pragma once
#include "zpixf/ZPixFormat.h"

namespace zpixf {

/// Why pixels of one format cannot be resampled to the other; null if they can.
inline const wchar_t* WhyNotResampled(const ZPixFormat& input, const ZPixFormat& output) {
    for (const ZPixFormat* format : {&input, &output})
        if (format->GetChannels() != 4 || format->GetBitsPerChannel() != 8 || format->GetNumColors() != 0)
            return L"A picture is resized in lines of 4 channels of 8 bits.";
    const bool isInputEmpty = input.GetWidth() == 0 || input.GetHeight() == 0;
    const bool isOutputEmpty = output.GetWidth() == 0 || output.GetHeight() == 0;
    if (isInputEmpty && !isOutputEmpty) return L"A picture without pixels cannot be resized.";
    return nullptr;
}

}  // namespace zpixf
