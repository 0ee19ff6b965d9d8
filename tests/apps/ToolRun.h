#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "zbm/ZBasicMemBitmap.h"

namespace test {

struct ToolResult {
    int code = 0;
    std::string out, errors;
    /// The lines of `errors`.
    std::vector<std::string> ErrorLines() const;
};

/// Runs the tool in this process; `columns` is the width of the terminal that shows its messages, 0 for none.
ToolResult RunTool(const std::vector<std::string>& arguments, int columns = 0);

/// Fails the current test unless the run ended with code 1 and exactly one line, which names `file`.
void ExpectOneErrorAbout(const ToolResult& result, const std::string& file);

using BitmapPtr = std::unique_ptr<zbm::ZBasicMemBitmap>;

/// A bitmap from and to an archive file, by way of the library alone.
BitmapPtr LoadArchive(const std::string& name);
void StoreArchive(zbm::ZBasicMemBitmap& bitmap, const std::string& name);

/// One pixel, taken from its tile bit by bit.
struct Pixel {
    std::uint32_t value = 0;  // the level, the index, or the bytes as a little-endian number
    bool opaque = true;       // as the mask says
    friend bool operator==(const Pixel&, const Pixel&) = default;
};
Pixel PixelAt(const zbm::ZBitmap& bitmap, int x, int y);
void SetPixel(zbm::ZBitmap& bitmap, int x, int y, Pixel pixel);

}  // namespace test
