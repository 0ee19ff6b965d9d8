#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace zcdl {

/// Bytes that are kept from block to block. Growing gives up the content and leaves the new one undefined.
class Buffer {
public:
    /// Makes room for `count` bytes. Raises std::bad_alloc, the buffer then being empty.
    std::uint8_t* Reserve(std::uint64_t count) {
        if (count <= capacity && bytes != nullptr) return bytes.get();
        bytes.reset();
        capacity = 0;
        // What grows once may grow again: blocks of a picture differ a little, and each should not cost an allocation.
        const std::uint64_t wanted = used ? count + count / 8 : std::max<std::uint64_t>(count, 1);
        if (wanted > SIZE_MAX / 2) throw std::bad_alloc();
        bytes.reset(new std::uint8_t[static_cast<std::size_t>(wanted)]);
        capacity = wanted;
        used = true;
        return bytes.get();
    }
    std::uint8_t* Data() const noexcept { return bytes.get(); }

private:
    std::unique_ptr<std::uint8_t[]> bytes;
    std::uint64_t capacity = 0;
    bool used = false;
};

}  // namespace zcdl
