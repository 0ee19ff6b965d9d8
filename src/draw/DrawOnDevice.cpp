// Drawing on a device context: in bands of memory, each of which goes to the device unscaled.
#include <algorithm>
#include <new>

#include "core/checks/BitmapChecks.h"
#include "draw/DrawOnSurface.h"
#include "shr/Exception.h"
#include "zbm/ZBitmap.h"

namespace zbm {

namespace {

constexpr int kBandPixels = (1 << 20) / 4;

/// A device context whose logical units are pixels of the device, until this ends.
class DeviceUnits {
public:
    explicit DeviceUnits(HDC device) noexcept : dc(device), saved(SaveDC(device)) {
        if (saved == 0) return;
        SetMapMode(dc, MM_TEXT);
        SetWindowOrgEx(dc, 0, 0, nullptr);
        SetViewportOrgEx(dc, 0, 0, nullptr);
    }
    ~DeviceUnits() {
        if (saved != 0) RestoreDC(dc, saved);
    }
    DeviceUnits(const DeviceUnits&) = delete;
    DeviceUnits& operator=(const DeviceUnits&) = delete;

    bool AreSet() const noexcept { return saved != 0; }

private:
    const HDC dc;
    const int saved;
};

/// Memory for a band, which a context of its own can draw into. Rows lie lowest first.
class Band {
public:
    Band(HDC model, int width, int height) : dc(CreateCompatibleDC(model)), info(InfoFor(width, height)) {
        void* memory = nullptr;
        section = CreateDIBSection(dc, &info, DIB_RGB_COLORS, &memory, nullptr, 0);
        bits = static_cast<std::uint8_t*>(memory);
        if (dc != nullptr && section != nullptr) former = SelectObject(dc, section);
        if (former != nullptr) return;
        Free();
        throw std::bad_alloc();
    }
    ~Band() { Free(); }
    Band(const Band&) = delete;
    Band& operator=(const Band&) = delete;

    /// Its first rows and columns are those of the rectangle.
    PixelSurface Surface(const RECT& rect) const noexcept {
        const std::ptrdiff_t stride = std::ptrdiff_t{4} * info.bmiHeader.biWidth;
        return {bits + stride * (info.bmiHeader.biHeight - 1), -stride, static_cast<int>(rect.right - rect.left),
                static_cast<int>(rect.bottom - rect.top), SurfaceLayout::bgrx};
    }
    /// What is on the device.
    void Fetch(HDC device, const RECT& rect) const noexcept {
        BitBlt(dc, 0, 0, static_cast<int>(rect.right - rect.left), static_cast<int>(rect.bottom - rect.top), device,
               static_cast<int>(rect.left), static_cast<int>(rect.top), SRCCOPY);
        GdiFlush();
    }
    void Send(HDC device, const RECT& rect) const noexcept {
        const auto width = static_cast<DWORD>(rect.right - rect.left),
                   height = static_cast<DWORD>(rect.bottom - rect.top);
        const int lowest = static_cast<int>(info.bmiHeader.biHeight) - static_cast<int>(height);
        SetDIBitsToDevice(device, static_cast<int>(rect.left), static_cast<int>(rect.top), width, height, 0, lowest, 0,
                          static_cast<UINT>(info.bmiHeader.biHeight), bits, &info, DIB_RGB_COLORS);
        GdiFlush();
    }

private:
    static BITMAPINFO InfoFor(int width, int height) noexcept {
        BITMAPINFO made{};
        made.bmiHeader = {sizeof(BITMAPINFOHEADER), width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
        return made;
    }
    void Free() noexcept {
        if (former != nullptr) SelectObject(dc, former);
        if (section != nullptr) DeleteObject(section);
        if (dc != nullptr) DeleteDC(dc);
    }

    const HDC dc;
    const BITMAPINFO info;
    HBITMAP section = nullptr;
    HGDIOBJ former = nullptr;
    std::uint8_t* bits = nullptr;
};

/// A part of the whole, of which it reports its own part.
class PartProgress final : public shr::IProgress {
public:
    PartProgress(shr::IProgress* wholeProgress, double partBegin, double partLength)
        : whole(wholeProgress), begin(partBegin), length(partLength) {}
    void StartTask(const shr::ZString&, int, int) override {}
    void EndTask() override {}
    void SetProgress(double fraction) override {
        if (whole != nullptr) whole->SetProgress(begin + length * fraction);
    }

private:
    shr::IProgress* whole;
    double begin, length;
};

/// What of the destination can be seen, in pixels of the device.
RECT VisibleOf(HDC dc, const RECT& destination, const DrawOptions& options) {
    RECT visible{}, box{};
    if (GetClipBox(dc, &box) == 0 || !IntersectRect(&visible, &box, &destination)) return RECT{};
    if (options.clip && !IntersectRect(&visible, &visible, &*options.clip)) return RECT{};
    return visible;
}

void DrawBands(const ZBitmap& bitmap, HDC dc, const RECT& destination, const RECT& visible, const SourceArea& area,
               DrawOptions options, shr::IProgress* progress) {
    const int width = static_cast<int>(std::min<LONG>(visible.right - visible.left, kBandPixels));
    const int height = static_cast<int>(std::min<LONG>(visible.bottom - visible.top, kBandPixels / width));
    const Band band(dc, width, height);
    options.clip.reset();
    const double pixels = static_cast<double>(visible.right - visible.left) * (visible.bottom - visible.top);
    double done = 0;
    for (LONG y = visible.top; y < visible.bottom; y += height)
        for (LONG x = visible.left; x < visible.right; x += width) {
            const RECT rect{x, y, std::min<LONG>(x + width, visible.right), std::min<LONG>(y + height, visible.bottom)};
            const double part = static_cast<double>(rect.right - rect.left) * (rect.bottom - rect.top) / pixels;
            PartProgress partProgress(progress, done, part);
            if (options.background == DrawOptions::Background::kept) band.Fetch(dc, rect);
            const Destination inBand{std::int64_t{destination.left} - x, std::int64_t{destination.top} - y,
                                     std::int64_t{destination.right} - x, std::int64_t{destination.bottom} - y};
            DrawOnSurface(bitmap, band.Surface(rect), inBand, area, options, &partProgress);
            band.Send(dc, rect);
            done += part;
        }
}

}  // namespace

bool ZBitmap::DrawOnDevice(HDC dc, const RECT& destination, const SourceArea& area, const DrawOptions& options,
                           shr::IProgress* progress) const {
    require(IsUsable(area), BitmapCheck::drawnArea);
    const DeviceUnits units(dc);
    if (!units.AreSet()) return true;
    const RECT visible = VisibleOf(dc, destination, options);
    if (IsRectEmpty(&visible)) return true;
    try {
        const shr::CScopedIProgressTask task(progress, kDrawingTask);
        DrawBands(*this, dc, destination, visible, area, options, progress);
    } catch (const shr::AbortException&) { return false; }
    return true;
}

}  // namespace zbm
