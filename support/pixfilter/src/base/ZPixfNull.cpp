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

bool ZPixfNull::CopyChanged(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                            shr::CopyWrites writes) noexcept {
    const std::size_t bits = std::size_t{outputFormat.GetChannels()} * outputFormat.GetBitsPerChannel();
    if (bits % 8 != 0) return false;
    constexpr std::size_t kRow = std::size_t{1} << 20;
    const auto copy = [&](std::size_t first, std::size_t bytes, std::size_t rows) {
        shr::CopyPixelRows({to + first, kRow, 0}, {from + first, kRow, 0}, static_cast<int>(bytes),
                           static_cast<int>(rows), shr::GRAYSCALE_8, writes);
    };
    const std::size_t bytes = count * bits / 8;
    copy(0, kRow, bytes / kRow);
    copy(bytes / kRow * kRow, bytes % kRow, 1);
    return true;
}

}  // namespace zpixf
