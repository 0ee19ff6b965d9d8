#include "base/LineWindow.h"

#include <new>

namespace zpixf {

void LineWindow::Prepare(unsigned newCount, unsigned width, unsigned margin) {
    constexpr std::uint64_t kAlignment = 64, kPixelBytes = 4;
    const std::uint64_t before = (margin * kPixelBytes + kAlignment - 1) / kAlignment * kAlignment;
    const std::uint64_t after = (width + std::uint64_t{margin}) * kPixelBytes;
    std::uint64_t bytes = before + (after + kAlignment - 1) / kAlignment * kAlignment;
    // Lines whole pages apart would share the same few places of the nearest cache.
    if (bytes % 1024 == 0) bytes += kAlignment;
    if (bytes > (lines.max_size() - kAlignment) / newCount) throw std::bad_alloc();
    Release();
    lines.resize(static_cast<std::size_t>(bytes * newCount + kAlignment));
    count = newCount;
    stride = static_cast<std::size_t>(bytes);
    // Large blocks of the heap begin just past a multiple: vectors of a line would straddle two cache lines.
    const auto misalignment = reinterpret_cast<std::uintptr_t>(lines.data()) % kAlignment;
    offset = static_cast<std::size_t>(before + (misalignment == 0 ? 0 : kAlignment - misalignment));
}

void LineWindow::Release() noexcept {
    lines = {};
    begin = end = 0;
}

}  // namespace zpixf
