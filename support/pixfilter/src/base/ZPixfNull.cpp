#include "zpixf/ZPixfNull.h"

namespace zpixf {

ZPixfNull::ZPixfNull() = default;
ZPixfNull::~ZPixfNull() = default;

ZPixfType ZPixfNull::FilterType() const { return ZPixfType::Null; }

bool ZPixfNull::OnStart() {
    const bool agree = inputFormat.GetWidth() == outputFormat.GetWidth() &&
                       inputFormat.GetHeight() == outputFormat.GetHeight() &&
                       inputFormat.GetChannels() == outputFormat.GetChannels() &&
                       inputFormat.GetBitsPerChannel() == outputFormat.GetBitsPerChannel();
    return agree || Fail("ZPixfNull", __LINE__, L"Input and output of the filter differ in format.");
}

bool ZPixfNull::ChangePixels(std::uint8_t*, std::size_t) { return true; }

}  // namespace zpixf
