#include "DeviceContext.h"

#include <new>

namespace gdi {
namespace {

/// An object without end, for what handles may be given to as long as the process runs.
template <class Object>
Object& WithoutEnd() noexcept {
    alignas(Object) static std::byte place[sizeof(Object)];
    static Object* const object = new (place) Object;
    return *object;
}

}  // namespace

ContextTable& Contexts() noexcept { return WithoutEnd<ContextTable>(); }
BitmapTable& Bitmaps() noexcept { return WithoutEnd<BitmapTable>(); }

void* NewHandle() noexcept {
    static constinit std::atomic<std::uintptr_t> last = 0;
    return reinterpret_cast<void*>(last.fetch_add(4, std::memory_order_relaxed) + 4);
}

DeviceContext::DeviceContext(std::shared_ptr<Bitmap> bitmap) : first{std::move(bitmap), NewHandle()} {
    first.bitmap->selectedBy = this;
    now.selected = first;
}

DeviceContext::~DeviceContext() { now.selected.bitmap->selectedBy = nullptr; }

void* DeviceContext::Select(const Selected& other) noexcept {
    const DeviceContext* holder = nullptr;
    if (!other.bitmap->selectedBy.compare_exchange_strong(holder, this) && holder != this) return nullptr;
    const Selected before = std::exchange(now.selected, other);
    if (before.bitmap != other.bitmap) before.bitmap->selectedBy = nullptr;
    return before.handle;
}

int DeviceContext::Save() {
    stack.push_back(now);
    return static_cast<int>(stack.size());
}

/// Of a bitmap that another context has meanwhile, this one keeps off.
bool DeviceContext::Restore(int saved) noexcept {
    const auto height = static_cast<std::int64_t>(stack.size());
    const std::int64_t level = saved < 0 ? height + saved : std::int64_t{saved} - 1;
    if (level < 0 || level >= height) return false;
    State restored = std::move(stack[static_cast<std::size_t>(level)]);
    stack.erase(stack.begin() + level, stack.end());
    Select(restored.selected);
    restored.selected = now.selected;
    now = std::move(restored);
    return true;
}

RECT DeviceContext::VisibleRect() const noexcept {
    RECT visible = now.selected.bitmap->Bounds();
    if (now.isClipped) IntersectRect(&visible, &visible, &now.clip);
    return visible;
}

}  // namespace gdi
