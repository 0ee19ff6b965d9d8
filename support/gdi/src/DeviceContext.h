#pragma once
// What stands behind the handles: contexts, and the bitmaps that they draw into.
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "HandleTable.h"
#include "gdi/gdi_mapping.h"
#include "gdi/gdi_rect.h"
#include "gdi/gdi_types.h"

namespace gdi {

class DeviceContext;

/// Rows of 32-bit pixels, its own or the caller's.
struct Bitmap {
    using OwnedBytes = std::unique_ptr<std::uint8_t, decltype(&std::free)>;

    std::uint8_t* topRow = nullptr;
    std::ptrdiff_t stride = 0;  ///< to the row below
    LONG width = 0, height = 0;
    OwnedBytes owned{nullptr, &std::free};
    /// One context has it at a time.
    std::atomic<const DeviceContext*> selectedBy{nullptr};

    std::uint8_t* PixelAt(LONG x, LONG y) const noexcept { return topRow + y * stride + std::ptrdiff_t{4} * x; }
    RECT Bounds() const noexcept { return {0, 0, width, height}; }
};

class DeviceContext {
public:
    struct Selected {
        std::shared_ptr<Bitmap> bitmap;
        void* handle;
    };
    /// All that SaveDC keeps.
    struct State {
        Selected selected;
        int mapMode = MM_TEXT;
        AxisMapping x, y;
        bool isClipped = false;
        RECT clip{};  ///< in device units; of meaning where it is clipped
        int stretchMode = BLACKONWHITE;
    };

    /// A context that begins with that bitmap. Raises std::bad_alloc.
    explicit DeviceContext(std::shared_ptr<Bitmap> first);
    ~DeviceContext();
    DeviceContext(const DeviceContext&) = delete;
    DeviceContext& operator=(const DeviceContext&) = delete;

    /// The bitmap's handle before; null, with nothing changed, if another context has the new one.
    void* Select(const Selected& other) noexcept;
    const Selected& First() const noexcept { return first; }

    int Save();
    bool Restore(int saved) noexcept;

    /// Within which pixels are drawn.
    RECT VisibleRect() const noexcept;
    POINT ToDevice(POINT logical) const noexcept { return {now.x.ToDevice(logical.x), now.y.ToDevice(logical.y)}; }
    POINT ToLogical(POINT device) const noexcept { return {now.x.ToLogical(device.x), now.y.ToLogical(device.y)}; }

    State now;

private:
    const Selected first;
    std::vector<State> stack;
};

using ContextTable = HandleTable<DeviceContext>;
using BitmapTable = HandleTable<Bitmap>;
ContextTable& Contexts() noexcept;
BitmapTable& Bitmaps() noexcept;

/// `use(context)` for the context of that handle; `none` if there is none, or if memory runs short.
template <class Answer, class Use>
Answer WithContext(HDC dc, Answer none, Use use) noexcept {
    const std::shared_ptr<DeviceContext> context = Contexts().Find(dc);
    if (context == nullptr) return none;
    try {
        return use(*context);
    } catch (const std::bad_alloc&) { return none; }
}

}  // namespace gdi
