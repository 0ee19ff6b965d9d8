#pragma once
// The pictures on which is measured, and the memory that holds pixels.
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "convert/ZBMColorFormat.h"
#include "shr/ColorFormat.h"

namespace bench {

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

/// A square picture, top row first, with its colour table if the format has one.
struct Square {
    Square(shr::ColorFormat which, int sidePixels);

    zbm::PixelRows Rows() { return {pixels.data(), format, stride, table.empty() ? nullptr : table.data()}; }
    zbm::ConstPixelRows Rows() const { return {pixels.data(), format, stride, table.empty() ? nullptr : table.data()}; }
    std::size_t PixelCount() const { return static_cast<std::size_t>(side) * static_cast<std::size_t>(side); }
    double Megapixels() const { return static_cast<double>(PixelCount()) / 1e6; }

    shr::ColorFormat format;
    int side, stride;  ///< in pixels; in bytes
    Pixels pixels;
    std::vector<shr::Color4b> table;
};

inline constexpr int kPictureSide = 4096, kTileSide = 512;

/// The picture `name`.bgra, bytes B, G, R, A, of the folder that the environment variable ZBM_PICTURES names; without
/// it, one made by a formula. Square and opaque. Raises std::runtime_error for a file that is missing or has another
/// size than kPictureSide x kPictureSide.
Square LoadPicture(const std::string& name);
/// Which of the two it is, for people.
std::string PictureOrigin(const std::string& name);
/// LoadPicture("photo"), loaded once.
const Square& Photograph();

/// The picture itself for its own side; a square from its inside for a smaller one; again and again for a larger one.
Square CutSquare(const Square& bgra, int side);
/// The same picture in bytes B, G, R, A.
Square ToBgra(const Square& picture);

/// Bytes that look like nothing in particular, the same in every run.
Pixels Noise(std::size_t bytes);

/// Two blocks of memory that memcpy copies as the rival of an operation; touched before, so that no page is fresh.
class Copy {
public:
    explicit Copy(std::size_t bytes) : from(bytes, 1), to(bytes, 2) {}
    void operator()() const;

private:
    Pixels from;
    mutable Pixels to;
};

}  // namespace bench
