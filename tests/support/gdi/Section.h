#pragma once
// A small picture to draw into, and DIBs to draw from, in which every pixel tells where it came from.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "gdi/gdi.h"

namespace testkit {

/// What a section holds before anything is drawn.
inline constexpr std::uint32_t kUntouched = 0xEEEEEEEE;

/// A section of 32-bit pixels, top row first, selected into a context of its own.
class Section {
public:
    Section(int w, int h) : width(w), height(h), dc(CreateCompatibleDC(nullptr)) {
        BITMAPINFO info{};
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), w, -h, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        void* bits = nullptr;
        bitmap = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
        pixels = static_cast<std::uint32_t*>(bits);
        before = SelectObject(dc, bitmap);
        for (int i = 0; i < w * h; ++i) pixels[i] = kUntouched;
    }
    ~Section() {
        SelectObject(dc, before);
        DeleteObject(bitmap);
        DeleteDC(dc);
    }
    Section(const Section&) = delete;
    Section& operator=(const Section&) = delete;

    std::uint32_t At(int x, int y) const { return pixels[y * width + x]; }

    const int width, height;
    const HDC dc;
    HBITMAP bitmap;
    std::uint32_t* pixels;

private:
    HGDIOBJ before;
};

/// A 32-bit DIB whose pixels hold their column in blue, their row in memory in green and 0xAB in byte 3.
struct PlacesDib {
    BITMAPINFO info{};
    std::vector<std::uint32_t> bits;

    PlacesDib(int width, int height) {
        info.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        for (int y = 0; y < (height < 0 ? -height : height); ++y)
            for (int x = 0; x < width; ++x)
                bits.push_back(0xAB000000 | static_cast<std::uint32_t>(y) << 8 | static_cast<std::uint32_t>(x));
    }
};

/// Hexadecimal digits of one channel along a row or a column, a dot for what is untouched.
inline std::string Columns(const Section& section, int y) {
    std::string text;
    for (int x = 0; x < section.width; ++x)
        text += section.At(x, y) == kUntouched ? '.' : "0123456789ABCDEF"[section.At(x, y) & 15];
    return text;
}
inline std::string Rows(const Section& section, int x) {
    std::string text;
    for (int y = 0; y < section.height; ++y)
        text += section.At(x, y) == kUntouched ? '.' : "0123456789ABCDEF"[section.At(x, y) >> 8 & 15];
    return text;
}
inline bool IsUntouched(const Section& section) {
    for (int i = 0; i < section.width * section.height; ++i)
        if (section.pixels[i] != kUntouched) return false;
    return true;
}

}  // namespace testkit
