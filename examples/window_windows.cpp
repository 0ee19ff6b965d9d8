// A window that shows a picture: the wheel zooms about the pointer, dragging moves it. Nothing but Win32 and ZBMLib2.
//
//     window.exe [FILE.zbf]       a bitmap in a file; without it, one that is painted here
#include <windows.h>
#include <windowsx.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>
#include <vector>

#include "shr/Exception.h"
#include "zbm/Drawing.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace {

/// What of the picture the window shows.
class View {
public:
    explicit View(std::unique_ptr<zbm::ZBitmap> shown) : bitmap(std::move(shown)) {}

    void Fit(int width, int height) {
        zoom = std::min(width / double(bitmap->GetPixelWidth()), height / double(bitmap->GetPixelHeight()));
        left = (bitmap->GetPixelWidth() - width / zoom) / 2;
        top = (bitmap->GetPixelHeight() - height / zoom) / 2;
    }
    /// The picture's place under the pointer stays there.
    void Zoom(double factor, POINT pointer) {
        const double former = zoom;
        zoom = std::clamp(zoom * factor, 1.0 / 256, 64.0);
        left += pointer.x / former - pointer.x / zoom;
        top += pointer.y / former - pointer.y / zoom;
    }
    void Move(int dx, int dy) {
        left -= dx / zoom;
        top -= dy / zoom;
    }
    void Paint(HDC dc, const RECT& client) const {
        zbm::DrawOptions options;
        options.background = zbm::DrawOptions::Background::checkerboard;
        if (zoom >= 4) options.enlarging = zbm::DrawOptions::Enlarging::nearest;
        const zbm::SourceArea area{left, top, client.right / zoom, client.bottom / zoom};
        if (!bitmap->DrawOnDevice(dc, client, area, options, nullptr)) return;  // never cancelled
    }

private:
    std::unique_ptr<zbm::ZBitmap> bitmap;
    double left = 0, top = 0, zoom = 1;
};

std::unique_ptr<zbm::ZBitmap> PaintPicture() {
    constexpr int kWidth = 1200, kHeight = 900;
    auto picture = std::make_unique<zbm::ZMemBitmap>(kWidth, kHeight, shr::BGRA_32);
    std::vector<std::uint8_t> row(4 * kWidth);
    for (int y = 0; y < kHeight; ++y) {
        for (int x = 0; x < kWidth; ++x) {
            const double away = std::hypot(x - kWidth / 2, y - kHeight / 2);
            std::uint8_t* const pixel = row.data() + 4 * x;
            pixel[0] = static_cast<std::uint8_t>(x * 255 / kWidth);
            pixel[1] = static_cast<std::uint8_t>(y * 255 / kHeight);
            pixel[2] = static_cast<std::uint8_t>(128 + 127 * std::sin(away / 12));
            pixel[3] = static_cast<std::uint8_t>(std::clamp(520 - away, 0.0, 255.0));
        }
        picture->StoreRegion(row.data(), 4 * kWidth, 0, y, kWidth, 1);
    }
    return picture->CommitAll(nullptr) ? std::move(picture) : nullptr;
}

std::unique_ptr<zbm::ZBitmap> OpenPicture(const wchar_t* name) {
    auto picture = std::make_unique<zbm::ZScanRectFileBitmap>(L"", L"", false);
    picture->Open(name, true);
    return picture;
}

POINT PointOf(LPARAM position) { return {GET_X_LPARAM(position), GET_Y_LPARAM(position)}; }

RECT ClientOf(HWND window) {
    RECT client{};
    GetClientRect(window, &client);
    return client;
}

void Repaint(HWND window) { InvalidateRect(window, nullptr, FALSE); }

void OnPaint(HWND window, const View& view) {
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(window, &paint);
    try {
        view.Paint(dc, ClientOf(window));
    } catch (const shr::Exception&) { TextOutW(dc, 8, 8, L"The picture cannot be read.", 27); }
    EndPaint(window, &paint);
}

void OnWheel(HWND window, View& view, WPARAM wheel, LPARAM position) {
    POINT pointer = PointOf(position);
    ScreenToClient(window, &pointer);
    view.Zoom(std::exp2(GET_WHEEL_DELTA_WPARAM(wheel) / 240.0), pointer);
    Repaint(window);
}

void OnDrag(HWND window, View& view, POINT pointer) {
    static POINT former{};
    if (GetCapture() == window) {
        view.Move(static_cast<int>(pointer.x - former.x), static_cast<int>(pointer.y - former.y));
        Repaint(window);
    }
    former = pointer;
}

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    auto* const view = reinterpret_cast<View*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (view == nullptr) return DefWindowProcW(window, message, wParam, lParam);
    switch (message) {
        case WM_PAINT: OnPaint(window, *view); return 0;
        case WM_ERASEBKGND: return 1;  // every pixel is painted
        case WM_SIZE: Repaint(window); return 0;
        case WM_MOUSEWHEEL: OnWheel(window, *view, wParam, lParam); return 0;
        case WM_LBUTTONDOWN: SetCapture(window); return 0;
        case WM_LBUTTONUP: ReleaseCapture(); return 0;
        case WM_MOUSEMOVE: OnDrag(window, *view, PointOf(lParam)); return 0;
        case WM_DESTROY: PostQuitMessage(0); return 0;
        default: return DefWindowProcW(window, message, wParam, lParam);
    }
}

HWND MakeWindow(HINSTANCE instance, View& view) {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = &OnMessage;
    windowClass.hInstance = instance;
    windowClass.hCursor = LoadCursorW(nullptr, MAKEINTRESOURCEW(32649));  // a hand
    windowClass.lpszClassName = L"zbm_picture";
    RegisterClassW(&windowClass);
    const HWND window = CreateWindowW(L"zbm_picture", L"ZBMLib2", WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                                      800, 600, nullptr, nullptr, instance, nullptr);
    if (window == nullptr) return nullptr;
    const RECT client = ClientOf(window);
    view.Fit(static_cast<int>(client.right), static_cast<int>(client.bottom));
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&view));
    return window;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, wchar_t* name, int show) {
    try {
        View view(*name == L'\0' ? PaintPicture() : OpenPicture(name));
        const HWND window = MakeWindow(instance, view);
        if (window == nullptr) return 1;
        ShowWindow(window, show);
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
        return 0;
    } catch (const shr::Exception& error) {
        MessageBoxW(nullptr, error.GetMessageText().Wide().c_str(), L"ZBMLib2", MB_ICONERROR);
        return 1;
    }
}
