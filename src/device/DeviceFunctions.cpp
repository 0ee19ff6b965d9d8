#include "device/DeviceFunctions.h"

#include <atomic>

namespace zbm {
namespace {

// Plain functions, whatever calling convention the system's have.
constexpr DeviceFunctions kSystemsDevice = {
    [](auto... arguments) { return ::GetClipBox(arguments...); },
    [](auto... arguments) { return ::IntersectRect(arguments...); },
    [](auto... arguments) { return ::LPtoDP(arguments...); },
    [](auto... arguments) { return ::SaveDC(arguments...); },
    [](auto... arguments) { return ::RestoreDC(arguments...); },
    [](auto... arguments) { return ::SetMapMode(arguments...); },
    [](auto... arguments) { return ::SetViewportOrgEx(arguments...); },
    [](auto... arguments) { return ::SetViewportExtEx(arguments...); },
    [](auto... arguments) { return ::SetStretchBltMode(arguments...); },
    [](auto... arguments) { return ::StretchDIBits(arguments...); },
    [](auto... arguments) { return ::SetDIBitsToDevice(arguments...); },
};

constinit std::atomic<const DeviceFunctions*> active = &kSystemsDevice;

}  // namespace

const DeviceFunctions& ActiveDevice() noexcept { return *active.load(std::memory_order_relaxed); }

ScopedDevice::ScopedDevice(const DeviceFunctions& functions) noexcept { active = &functions; }
ScopedDevice::~ScopedDevice() { active = &kSystemsDevice; }

}  // namespace zbm
