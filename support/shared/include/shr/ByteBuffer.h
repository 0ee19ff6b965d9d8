#pragma once
#include <cstddef>
#include <cstdint>

#include "shr/Export.h"

namespace shr {

/// Owns a block of bytes for pixels, which begin at a line of the caches (64 bytes). Unlike a vector it can stay
/// uninitialised, and large zeroed blocks come from the system already cleared, so that their pages cost nothing until
/// they are used.
class SHR_API ByteBuffer {
public:
    ByteBuffer() noexcept = default;
    ~ByteBuffer();
    ByteBuffer(ByteBuffer&& other) noexcept;
    ByteBuffer& operator=(ByteBuffer&& other) noexcept;
    ByteBuffer(const ByteBuffer&) = delete;
    ByteBuffer& operator=(const ByteBuffer&) = delete;

    /// `size` bytes that read as zero. Raises std::bad_alloc, also for a size that no address space holds.
    static ByteBuffer Zeroed(std::uint64_t size);
    /// `size` bytes that the caller is certain to overwrite before anything of them is stored or shown.
    static ByteBuffer Uninitialized(std::uint64_t size);

    std::uint8_t* Data() noexcept { return data; }
    const std::uint8_t* Data() const noexcept { return data; }
    std::size_t Size() const noexcept { return size; }
    bool IsEmpty() const noexcept { return data == nullptr; }
    void Free() noexcept;

    /// For tests: asked before each allocation; when it returns true the allocation fails. Null switches it off.
    using FaultHook = bool (*)();
    static void SetFaultHook(FaultHook hook) noexcept;

private:
    ByteBuffer(void* allocated, std::size_t byteCount) noexcept;

    void* block = nullptr;  ///< as it was allocated: a little more
    std::uint8_t* data = nullptr;
    std::size_t size = 0;
};

}  // namespace shr
