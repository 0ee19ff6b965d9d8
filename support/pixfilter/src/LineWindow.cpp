#include "LineWindow.h"

#include <new>

namespace zpixf {

void LineWindow::Prepare(unsigned newCount, unsigned width, unsigned margin) {
    constexpr std::uint64_t kAlignment = 32, kPixelBytes = 4;
    const std::uint64_t before = (margin * kPixelBytes + kAlignment - 1) / kAlignment * kAlignment;
    const std::uint64_t after = (width + std::uint64_t{margin}) * kPixelBytes;
    const std::uint64_t bytes = before + (after + kAlignment - 1) / kAlignment * kAlignment;
    if (bytes > lines.max_size() / newCount) throw std::bad_alloc();
    Release();
    lines.resize(static_cast<std::size_t>(bytes * newCount));
    count = newCount;
    stride = static_cast<std::size_t>(bytes);
    offset = static_cast<std::size_t>(before);
}

void LineWindow::Release() noexcept {
    lines = {};
    begin = end = 0;
}

}  // namespace zpixf
