#include "device/PlainDevice.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>

#include "support_code/Pixels.h"

namespace testkit {
namespace {

LONG Long(long value) { return static_cast<LONG>(value); }

PlainDevice& Of(HDC dc) { return *reinterpret_cast<PlainDevice*>(dc); }

long Mapped(long value, long fromOrg, long fromExt, long toOrg, long toExt) {
    return static_cast<long>(
               std::floor(static_cast<double>((value - fromOrg) * toExt) / static_cast<double>(fromExt) + 0.5)) +
           toOrg;
}

/// Rounded up.
long Quotient(long a, long b) { return (a + b - 1) / b; }

/// For each pixel of `to` ones the source pixels of `from` ones that go there, in their order.
std::map<long, std::vector<long>> Meetings(long from, long to) {
    std::map<long, std::vector<long>> sources;
    if (from <= to)
        for (long i = 0; i < to; ++i) sources[i].push_back(Quotient((2 * i + 1) * from, 2 * to) - 1);
    else if (to > 0)
        for (long s = 0; s < from; ++s) sources[Quotient((2 * s + 1) * to, 2 * from) - 1].push_back(s);
    return sources;
}

}  // namespace

long PlainMapping::ToDevice(long value) const { return Mapped(value, windowOrg, windowExt, viewportOrg, viewportExt); }
long PlainMapping::ToLogical(long value) const { return Mapped(value, viewportOrg, viewportExt, windowOrg, windowExt); }

PlainDevice::PlainDevice(Picture& drawnInto) : picture(drawnInto), clip{0, 0, drawnInto.width, drawnInto.height} {}

void PlainDevice::Clip(const RECT& rect) {
    clip = {std::max(clip.left, std::min(rect.left, rect.right)), std::max(clip.top, std::min(rect.top, rect.bottom)),
            std::min(clip.right, std::max(rect.left, rect.right)),
            std::min(clip.bottom, std::max(rect.top, rect.bottom))};
}

bool PlainDevice::Source::HasColumn(long column) const { return column >= 0 && column < info->bmiHeader.biWidth; }
bool PlainDevice::Source::HasRow(long row) const { return row >= firstLine && row < firstLine + lines; }

std::uint32_t PlainDevice::Source::PixelAt(long column, long row) const {
    const BITMAPINFOHEADER& header = info->bmiHeader;
    const long line = header.biHeight < 0 ? firstLine + lines - 1 - row : row - firstLine;
    const std::uint8_t* memory = bits + line * PaddedRowBytes(static_cast<int>(header.biWidth), header.biBitCount);
    const int x = static_cast<int>(column);
    if (header.biBitCount == 32) return testkit::PixelAt(memory, x, shr::BGRA_32);
    if (header.biBitCount == 24) return testkit::PixelAt(memory, x, shr::BGR_24);
    const ColorFormat indices = header.biBitCount == 1   ? shr::GRAYSCALE_1
                                : header.biBitCount == 4 ? shr::GRAYSCALE_4
                                                         : shr::GRAYSCALE_8;
    const std::uint32_t index = testkit::PixelAt(memory, x, indices);
    if (header.biClrUsed != 0 && index >= header.biClrUsed) return 0;
    const RGBQUAD& color = info->bmiColors[index];
    return static_cast<std::uint32_t>(color.rgbRed << 16 | color.rgbGreen << 8 | color.rgbBlue);
}

void PlainDevice::Set(long x, long y, std::uint32_t pixel) {
    if (x < clip.left || x >= clip.right || y < clip.top || y >= clip.bottom) return;
    picture.pixels[static_cast<std::size_t>(y * picture.width + x)] = pixel;
}

/// Of columns that meet the last shows; of rows, counted from the upper side, the first.
void PlainDevice::Stretch(long x, long y, long width, long height, long sourceX, long sourceY, long sourceWidth,
                          long sourceHeight, const Source& source) {
    const auto across = Meetings(sourceWidth, std::abs(width)), down = Meetings(sourceHeight, std::abs(height));
    for (const auto& [j, rows] : down) {
        const auto row = std::find_if(rows.begin(), rows.end(),
                                      [&](long k) { return source.HasRow(sourceY + sourceHeight - 1 - k); });
        if (row == rows.end()) continue;
        for (const auto& [i, columns] : across) {
            const auto column =
                std::find_if(columns.rbegin(), columns.rend(), [&](long k) { return source.HasColumn(sourceX + k); });
            if (column == columns.rend()) continue;
            Set(width < 0 ? x - i : x + i, height < 0 ? y - j : y + j,
                source.PixelAt(sourceX + *column, sourceY + sourceHeight - 1 - *row));
        }
    }
}

const zbm::DeviceFunctions& PlainDevice::Functions() {
    static const zbm::DeviceFunctions functions = {
        .getClipBox =
            [](HDC dc, RECT* box) {
                const PlainDevice& device = Of(dc);
                *box = RECT{};
                if (IsRectEmpty(&device.clip)) return NULLREGION;
                *box = {Long(device.mapAcross.ToLogical(device.clip.left)),
                        Long(device.mapDown.ToLogical(device.clip.top)),
                        Long(device.mapAcross.ToLogical(device.clip.right)),
                        Long(device.mapDown.ToLogical(device.clip.bottom))};
                return SIMPLEREGION;
            },
        .intersectRect =
            [](RECT* result, const RECT* a, const RECT* b) {
                *result = {std::max(a->left, b->left), std::max(a->top, b->top), std::min(a->right, b->right),
                           std::min(a->bottom, b->bottom)};
                const bool meet = a->left < a->right && a->top < a->bottom && b->left < b->right &&
                                  b->top < b->bottom && result->left < result->right && result->top < result->bottom;
                return BOOL{meet};
            },
        .lpToDp =
            [](HDC dc, POINT* points, int count) {
                for (int i = 0; i < count; ++i)
                    points[i] = {Long(Of(dc).mapAcross.ToDevice(points[i].x)),
                                 Long(Of(dc).mapDown.ToDevice(points[i].y))};
                return BOOL{TRUE};
            },
        .saveDc =
            [](HDC dc) {
                Of(dc).savedAcross = Of(dc).mapAcross;
                Of(dc).savedDown = Of(dc).mapDown;
                return 1;
            },
        .restoreDc =
            [](HDC dc, int) {
                Of(dc).mapAcross = Of(dc).savedAcross;
                Of(dc).mapDown = Of(dc).savedDown;
                return BOOL{TRUE};
            },
        .setMapMode =
            [](HDC dc, int) {
                for (PlainMapping* mapping : {&Of(dc).mapAcross, &Of(dc).mapDown})
                    mapping->windowExt = mapping->viewportExt = 1;
                return 1;
            },
        .setViewportOrgEx =
            [](HDC dc, int x, int y, POINT*) {
                Of(dc).mapAcross.viewportOrg = x;
                Of(dc).mapDown.viewportOrg = y;
                return BOOL{TRUE};
            },
        .setViewportExtEx = [](HDC, int, int, SIZE*) { return BOOL{TRUE}; },
        .setStretchBltMode = [](HDC, int) { return 1; },
        .stretchDiBits =
            [](HDC dc, int x, int y, int width, int height, int sourceX, int sourceY, int sourceWidth, int sourceHeight,
               const void* bits, const BITMAPINFO* info, UINT, DWORD) {
                PlainDevice& device = Of(dc);
                const long left = device.mapAcross.ToDevice(x), top = device.mapDown.ToDevice(y);
                const Source source{static_cast<const std::uint8_t*>(bits), info, 0,
                                    std::labs(info->bmiHeader.biHeight)};
                device.Stretch(left, top, device.mapAcross.ToDevice(x + width) - left,
                               device.mapDown.ToDevice(y + height) - top, sourceX, sourceY, sourceWidth, sourceHeight,
                               source);
                return 1;
            },
        .setDiBitsToDevice =
            [](HDC dc, int x, int y, DWORD width, DWORD height, int sourceX, int sourceY, UINT firstLine, UINT lines,
               const void* bits, const BITMAPINFO* info, UINT) {
                if (firstLine >= static_cast<UINT>(std::labs(info->bmiHeader.biHeight))) return 0;
                PlainDevice& device = Of(dc);
                const long there = info->bmiHeader.biHeight < 0
                                       ? -static_cast<long>(info->bmiHeader.biHeight)
                                       : static_cast<long>(info->bmiHeader.biHeight) - static_cast<long>(firstLine);
                const Source source{static_cast<const std::uint8_t*>(bits), info, static_cast<long>(firstLine),
                                    std::min(static_cast<long>(lines), there)};
                device.Stretch(device.mapAcross.ToDevice(x), device.mapDown.ToDevice(y), static_cast<long>(width),
                               static_cast<long>(height), sourceX, sourceY, static_cast<long>(width),
                               static_cast<long>(height), source);
                return 1;
            },
    };
    return functions;
}

}  // namespace testkit
