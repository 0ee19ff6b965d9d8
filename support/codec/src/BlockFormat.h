#pragma once
// What an encoded block looks like. docs/file-formats.md has the same to the byte.
//
//     empty    kind                                                 the block of 0 bytes
//     stored   kind, the bytes, checksum
//     repeated kind, length, period, pattern, zeros, checksum       1 to 4 bytes over and over
//     zstd     kind, one zstd frame, checksum
//     planes   kind, length, layout, one zstd frame, checksum       transformed first
//
// The checksum is of all bytes before it, so it costs time only in proportion to what is stored.
#include <array>
#include <cstddef>
#include <cstdint>

#include "PlaneKernels.h"

namespace zcdl {

enum class BlockKind : std::uint8_t { empty = 0, stored = 1, repeated = 2, zstd = 3, planes = 4 };

constexpr std::size_t kKindBytes = 1;
constexpr std::size_t kChecksumBytes = 4;
constexpr std::size_t kMaxPeriod = 4;
constexpr int kMaxPlanes = 4;

/// How a plane's residuals are kept: one value for all, a byte each, two neighbours in a byte, or in one byte with the
/// next plane that is joint.
enum class Coding : std::uint8_t { constant = 0, bytes = 1, pairs = 2, joint = 3 };

struct PlaneCode {
    Coding coding = Coding::bytes;
    Predictor predictor = Predictor::none;
    std::uint8_t value = 0;         ///< of `constant`
    std::uint64_t escapeBytes = 0;  ///< of `pairs`, and of the first of two `joint` planes
};

/// How the bytes of a block are laid out as rows of pixels, and how each plane is kept. Bytes that belong to no whole
/// pixel (the end of each row, and what follows the last whole row) are the rest.
struct PlaneLayout {
    std::uint64_t byteCount = 0;
    std::uint64_t rowBytes = 0;
    PixelShape shape;
    bool words = false;  ///< 2 planes: the samples are 16-bit words, and the planes their residuals' low and high bytes
    std::array<PlaneCode, kMaxPlanes> planes;

    std::uint64_t Rows() const noexcept { return byteCount / rowBytes; }
    std::uint64_t Width() const noexcept { return rowBytes / Step(); }
    std::uint64_t Step() const noexcept { return static_cast<std::uint64_t>(shape.step); }
    std::uint64_t RowRestBytes() const noexcept { return rowBytes % Step(); }
    std::uint64_t RestBytes() const noexcept { return Rows() * RowRestBytes() + byteCount % rowBytes; }
    /// The second of the two joint planes whose first is `plane`; 0 if there is none.
    int JointPartner(int plane) const noexcept;
    /// Whether `plane` is joint and the second of its two.
    bool IsJointSecond(int plane) const noexcept;
    /// Bytes that `plane` puts into the frame for each row, but for its escapes.
    std::uint64_t PackedRowBytes(int plane) const noexcept;
    bool HasEscapes(int plane) const noexcept;
    /// Bytes of the zstd frame's content: packed planes, rest, escapes.
    std::uint64_t ContentBytes() const noexcept;
};

constexpr std::size_t kMaxVarintBytes = 10;
constexpr std::size_t kMaxLayoutBytes = 2 * kMaxVarintBytes + 1 + kMaxPlanes * (2 + kMaxVarintBytes);

/// Appends to `to`, which has room; gives the end.
std::uint8_t* PutVarint(std::uint8_t* to, std::uint64_t value) noexcept;
std::uint8_t* PutLayout(std::uint8_t* to, const PlaneLayout& layout) noexcept;

/// Bytes of a block that are yet to be read.
struct ByteReader {
    const std::uint8_t* next;
    const std::uint8_t* end;

    std::size_t Left() const noexcept { return static_cast<std::size_t>(end - next); }
    /// False at the end, or if the value is not in its shortest form.
    bool Varint(std::uint64_t& value) noexcept;
    bool Byte(std::uint8_t& value) noexcept;
};

/// Reads a layout that PutLayout can have written for a block of `byteCount` bytes; false if it is none.
bool GetLayout(ByteReader& reader, std::uint64_t byteCount, PlaneLayout& layout) noexcept;

}  // namespace zcdl
