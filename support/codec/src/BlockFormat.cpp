#include "BlockFormat.h"

#include "zcdl/Codec.h"

namespace zcdl {
namespace {

constexpr unsigned kStepMask = 3, kColorBit = 4, kWordsBit = 8;
constexpr unsigned kCodingMask = 3, kPredictorShift = 2;

/// zstd needs at least 4 bytes for every 128 KiB.
constexpr std::uint64_t kMaxExpansion = 32768;

}  // namespace

std::uint64_t MaxEncodedSize(std::uint64_t byteCount) noexcept {
    if (byteCount == 0) return kKindBytes;
    const std::uint64_t size = byteCount + kKindBytes + kChecksumBytes;
    return size < byteCount ? UINT64_MAX : size;
}

std::uint64_t MinEncodedSize(std::uint64_t byteCount) noexcept {
    if (byteCount == 0) return kKindBytes;
    return kKindBytes + kChecksumBytes + 1 + (byteCount - 1) / kMaxExpansion;
}

int PlaneLayout::JointPartner(int plane) const noexcept {
    for (int p = plane + 1; p < shape.step; ++p)
        if (planes[static_cast<std::size_t>(p)].coding == Coding::joint) return p;
    return 0;
}

bool PlaneLayout::IsJointSecond(int plane) const noexcept {
    bool second = false;
    for (int p = 0; p < plane; ++p)
        if (planes[static_cast<std::size_t>(p)].coding == Coding::joint) second = !second;
    return second && planes[static_cast<std::size_t>(plane)].coding == Coding::joint;
}

std::uint64_t PlaneLayout::PackedRowBytes(int plane) const noexcept {
    switch (planes[static_cast<std::size_t>(plane)].coding) {
        case Coding::constant: return 0;
        case Coding::bytes: return Width();
        case Coding::pairs: return (Width() + 1) / 2;
        case Coding::joint: return IsJointSecond(plane) ? 0 : Width();
    }
    return 0;
}

bool PlaneLayout::HasEscapes(int plane) const noexcept {
    const Coding coding = planes[static_cast<std::size_t>(plane)].coding;
    return coding == Coding::pairs || (coding == Coding::joint && !IsJointSecond(plane));
}

std::uint64_t PlaneLayout::ContentBytes() const noexcept {
    std::uint64_t content = RestBytes();
    for (int p = 0; p < shape.step; ++p) {
        content += Rows() * PackedRowBytes(p);
        if (HasEscapes(p)) content += planes[static_cast<std::size_t>(p)].escapeBytes;
    }
    return content;
}

std::uint8_t* PutVarint(std::uint8_t* to, std::uint64_t value) noexcept {
    for (; value >= 128; value >>= 7) *to++ = static_cast<std::uint8_t>(value | 128);
    *to++ = static_cast<std::uint8_t>(value);
    return to;
}

std::uint8_t* PutLayout(std::uint8_t* to, const PlaneLayout& layout) noexcept {
    to = PutVarint(to, layout.byteCount);
    *to++ = static_cast<std::uint8_t>(static_cast<unsigned>(layout.shape.step - 1) |
                                      (layout.shape.color ? kColorBit : 0) | (layout.words ? kWordsBit : 0));
    to = PutVarint(to, layout.rowBytes);
    for (int p = 0; p < layout.shape.step; ++p) {
        const PlaneCode& plane = layout.planes[static_cast<std::size_t>(p)];
        *to++ = static_cast<std::uint8_t>(static_cast<unsigned>(plane.coding) | static_cast<unsigned>(plane.predictor)
                                                                                    << kPredictorShift);
        if (plane.coding == Coding::constant) *to++ = plane.value;
        if (layout.HasEscapes(p)) to = PutVarint(to, plane.escapeBytes);
    }
    return to;
}

bool ByteReader::Byte(std::uint8_t& value) noexcept {
    if (next == end) return false;
    value = *next++;
    return true;
}

bool ByteReader::Varint(std::uint64_t& value) noexcept {
    value = 0;
    for (unsigned shift = 0; shift < 63; shift += 7) {
        std::uint8_t part = 0;
        if (!Byte(part)) return false;
        value |= static_cast<std::uint64_t>(part & 127) << shift;
        if (part < 128) return part != 0 || shift == 0;
    }
    return false;
}

bool GetLayout(ByteReader& reader, std::uint64_t byteCount, PlaneLayout& layout) noexcept {
    layout = {};
    std::uint8_t flags = 0;
    if (!reader.Varint(layout.byteCount) || layout.byteCount != byteCount || !reader.Byte(flags)) return false;
    layout.shape.step = static_cast<int>(flags & kStepMask) + 1;
    layout.shape.color = (flags & kColorBit) != 0;
    layout.words = (flags & kWordsBit) != 0;
    if (flags > (kStepMask | kColorBit | kWordsBit)) return false;
    if ((layout.shape.color && layout.shape.step < 3) || (layout.words && layout.shape.step != 2)) return false;
    if (!reader.Varint(layout.rowBytes) || layout.rowBytes < layout.Step() || layout.rowBytes > byteCount) return false;

    int joint = 0;
    for (int p = 0; p < layout.shape.step; ++p) {
        PlaneCode& plane = layout.planes[static_cast<std::size_t>(p)];
        std::uint8_t code = 0;
        if (!reader.Byte(code) || code > 15) return false;
        plane.coding = static_cast<Coding>(code & kCodingMask);
        plane.predictor = static_cast<Predictor>(code >> kPredictorShift);
        if (plane.coding == Coding::constant) {
            if (layout.words || plane.predictor != Predictor::none || !reader.Byte(plane.value)) return false;
        }
        if (plane.coding == Coding::joint) ++joint;
        if (layout.HasEscapes(p)) {
            const std::uint64_t samples = layout.Rows() * layout.Width() * (plane.coding == Coding::joint ? 2 : 1);
            if (!reader.Varint(plane.escapeBytes) || plane.escapeBytes > samples) return false;
        }
    }
    // Words have one predictor, which stands with both of their planes.
    if (layout.words && layout.planes[0].predictor != layout.planes[1].predictor) return false;
    return joint % 2 == 0;
}

}  // namespace zcdl
