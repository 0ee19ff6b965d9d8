// Contexts and bitmaps come and go.
#include <cstring>
#include <limits>

#include "DeviceContext.h"
#include "gdi/gdi_device.h"

namespace gdi {
namespace {

constexpr std::int64_t kMostBytes = std::numeric_limits<std::int32_t>::max();

/// `make()`'s handle; null if memory runs short.
template <class Make>
void* HandleOf(Make make) noexcept {
    try {
        return make();
    } catch (const std::bad_alloc&) { return nullptr; }
}

HDC AddContext(const std::shared_ptr<Bitmap>& first) {
    return static_cast<HDC>(Contexts().Add(std::make_shared<DeviceContext>(first)));
}

/// All bytes 0. Null if there is no memory.
std::shared_ptr<Bitmap> MakeBitmap(LONG width, LONG height, bool isTopDown) {
    const std::ptrdiff_t stride = std::ptrdiff_t{4} * width;
    auto bitmap = std::make_shared<Bitmap>();
    bitmap->owned.reset(
        static_cast<std::uint8_t*>(std::calloc(static_cast<std::size_t>(height), 4 * std::size_t(width))));
    if (bitmap->owned == nullptr) return nullptr;
    bitmap->topRow = bitmap->owned.get() + (isTopDown ? 0 : stride * (height - 1));
    bitmap->stride = isTopDown ? stride : -stride;
    bitmap->width = width;
    bitmap->height = height;
    return bitmap;
}

bool CanBeSection(const BITMAPINFOHEADER& header) noexcept {
    if (header.biSize < sizeof header || header.biPlanes != 1) return false;
    if (header.biBitCount != 32 || header.biCompression != BI_RGB) return false;
    const std::int64_t height = header.biHeight < 0 ? -std::int64_t{header.biHeight} : header.biHeight;
    return header.biWidth >= 1 && height >= 1 && height <= kMostBytes / 4 / header.biWidth;
}

}  // namespace

HDC CreateSurfaceDC(void* pixels, int width, int height, int stride) noexcept {
    const std::int64_t distance = stride < 0 ? -std::int64_t{stride} : stride;
    if (pixels == nullptr || width < 1 || height < 1 || distance < 4 * std::int64_t{width}) return nullptr;
    return static_cast<HDC>(HandleOf([&] {
        auto bitmap = std::make_shared<Bitmap>();
        bitmap->topRow = static_cast<std::uint8_t*>(pixels);
        bitmap->stride = stride;
        bitmap->width = width;
        bitmap->height = height;
        return AddContext(bitmap);
    }));
}

HDC CreateCompatibleDC(HDC) noexcept {
    return static_cast<HDC>(HandleOf([] {
        const std::shared_ptr<Bitmap> onePixel = MakeBitmap(1, 1, true);
        return onePixel == nullptr ? nullptr : AddContext(onePixel);
    }));
}

BOOL DeleteDC(HDC dc) noexcept { return Contexts().Remove(dc) != nullptr ? TRUE : FALSE; }

HBITMAP CreateDIBSection(HDC, const BITMAPINFO* info, UINT usage, void** bits, HANDLE section, DWORD) noexcept {
    if (bits != nullptr) *bits = nullptr;
    if (info == nullptr || usage != DIB_RGB_COLORS || section != nullptr || !CanBeSection(info->bmiHeader))
        return nullptr;
    const BITMAPINFOHEADER& header = info->bmiHeader;
    return static_cast<HBITMAP>(HandleOf([&]() -> void* {
        const LONG height = header.biHeight < 0 ? -header.biHeight : header.biHeight;
        const std::shared_ptr<Bitmap> bitmap = MakeBitmap(header.biWidth, height, header.biHeight < 0);
        if (bitmap == nullptr) return nullptr;
        void* const handle = Bitmaps().Add(bitmap);
        if (bits != nullptr) *bits = bitmap->owned.get();
        return handle;
    }));
}

HGDIOBJ SelectObject(HDC dc, HGDIOBJ object) noexcept {
    return WithContext(dc, HGDIOBJ{nullptr}, [&](DeviceContext& context) -> HGDIOBJ {
        if (object == context.First().handle) return context.Select(context.First());
        const DeviceContext::Selected selected{Bitmaps().Find(object), object};
        return selected.bitmap == nullptr ? nullptr : context.Select(selected);
    });
}

BOOL DeleteObject(HGDIOBJ object) noexcept { return Bitmaps().Remove(object) != nullptr ? TRUE : FALSE; }

int SaveDC(HDC dc) noexcept {
    return WithContext(dc, 0, [](DeviceContext& context) { return context.Save(); });
}

BOOL RestoreDC(HDC dc, int saved) noexcept {
    return WithContext(dc, FALSE, [&](DeviceContext& context) { return context.Restore(saved) ? TRUE : FALSE; });
}

BOOL GdiFlush() noexcept { return TRUE; }

}  // namespace gdi
