#pragma once
// The picture on which contests are held, and the memory that holds pixels.
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

namespace contest {

/// Pixels begin at a cache line, so that no contestant is hampered by where they happen to lie.
template <class T>
struct CacheLineAllocator {
    using value_type = T;
    static constexpr std::align_val_t kAlignment{64};
    CacheLineAllocator() = default;
    template <class U>
    explicit CacheLineAllocator(const CacheLineAllocator<U>&) noexcept {}
    T* allocate(std::size_t count) { return static_cast<T*>(::operator new(count * sizeof(T), kAlignment)); }
    void deallocate(T* memory, std::size_t) noexcept { ::operator delete(memory, kAlignment); }
    friend bool operator==(const CacheLineAllocator&, const CacheLineAllocator&) { return true; }
};
using Pixels = std::vector<std::uint8_t, CacheLineAllocator<std::uint8_t>>;

inline constexpr std::size_t kPictureSide = 4096;
inline constexpr std::size_t kTileSide = 512;

/// A square, opaque picture: bytes B, G, R, A, top row first.
struct Picture {
    std::string description;
    Pixels bgra;  ///< kPictureSide x kPictureSide
};

/// The picture `name`.bgra of the folder that the environment variable ZBM_PICTURES names; without it, one made by a
/// formula. Raises std::runtime_error for a file that is missing or has another size.
Picture LoadPicture(const std::string& name);

/// The picture itself for its own side; a square from its inside for a smaller one.
Pixels CutSquare(const Picture& picture, std::size_t side);

}  // namespace contest
