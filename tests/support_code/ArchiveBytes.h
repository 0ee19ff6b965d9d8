#pragma once
// Archives taken apart and put together by hand: what is stored is judged, and what is loaded is made, without the code
// under test.
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

#include "shr/ISerialize.h"
#include "zcdl/Codec.h"

namespace testkit {

using Bytes = std::vector<std::uint8_t>;

inline Bytes Encode(const Bytes& data, zcdl::CodecMethod method) {
    zcdl::CEncode encoder(method, 0);
    encoder.Encode(data.data(), data.size());
    return {encoder.GetEncodedBytes(), encoder.GetEncodedBytes() + encoder.GetNumEncodedBytes()};
}

/// Throws when the block does not hold exactly `size` bytes.
inline Bytes Decode(const Bytes& block, std::size_t size) {
    zcdl::CDecode decoder;
    decoder.SetEncodeBufferSize(static_cast<std::uint32_t>(block.size()));
    if (!block.empty()) std::memcpy(decoder.GetEncodeBuffer(), block.data(), block.size());
    Bytes data(size);
    if (!decoder.Decode(data.data(), size)) throw std::runtime_error("the block does not decode");
    return data;
}

/// Appends little-endian values.
class ArchiveWriter {
public:
    ArchiveWriter& U16(unsigned value) { return Value(value, 2); }
    ArchiveWriter& U32(std::uint32_t value) { return Value(value, 4); }
    ArchiveWriter& I32(std::int32_t value) { return Value(static_cast<std::uint32_t>(value), 4); }
    ArchiveWriter& Raw(const Bytes& data) {
        // One by one: an insert of a range, inlined, makes GCC 12 warn of an overflow that cannot be.
        for (const std::uint8_t byte : data) bytes.push_back(byte);
        return *this;
    }
    /// The framing of a compressed block around bytes that are encoded already.
    ArchiveWriter& Framed(const Bytes& encoded) { return U32(static_cast<std::uint32_t>(encoded.size())).Raw(encoded); }
    ArchiveWriter& Block(const Bytes& data, zcdl::CodecMethod method = zcdl::CodecMethod::stored) {
        return Framed(Encode(data, method));
    }
    /// Version 1 and the eight values of a format information without colours.
    ArchiveWriter& FormatInfo(int height, int width, int format, int tileHeight, int tileWidth) {
        U16(1).I32(height).I32(width).I32(format).I32(tileHeight).I32(tileWidth);
        return I32(100).I32(200).U32(0);
    }
    /// A tile's record up to its blocks.
    ArchiveWriter& TileHead(int width, int height, int format) { return U16(1).I32(width).I32(height).I32(format); }
    Bytes Take() const { return bytes; }

private:
    ArchiveWriter& Value(std::uint32_t value, int size) {
        for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }
    Bytes bytes;
};

/// Takes values off the front; throws at the end.
class ArchiveReader {
public:
    explicit ArchiveReader(Bytes archive) : bytes(std::move(archive)) {}

    unsigned U16() { return Value(2); }
    std::uint32_t U32() { return Value(4); }
    std::int32_t I32() { return static_cast<std::int32_t>(Value(4)); }
    Bytes Raw(std::size_t size) {
        if (size > bytes.size() - position) throw std::runtime_error("the archive is at its end");
        const auto from = bytes.begin() + static_cast<std::ptrdiff_t>(position);
        position += size;
        return {from, from + static_cast<std::ptrdiff_t>(size)};
    }
    /// A framed block as it is encoded.
    Bytes Framed() { return Raw(U32()); }
    Bytes Block(std::size_t decodedSize) { return Decode(Framed(), decodedSize); }
    std::size_t Position() const { return position; }
    bool AtEnd() const { return position == bytes.size(); }

private:
    std::uint32_t Value(int size) {
        std::uint32_t value = 0;
        const Bytes raw = Raw(static_cast<std::size_t>(size));
        for (int i = size; i-- > 0;) value = value << 8 | raw[static_cast<std::size_t>(i)];
        return value;
    }
    Bytes bytes;
    std::size_t position = 0;
};

/// What an archive of these tests raises at its end, or at the call that it is told to fail at.
struct ArchiveFailure {};

/// A host's own archive, which does not tell how much is left to read, and notes the size of every access.
class PlainArchive : public shr::ISerialize {
public:
    /// For storing.
    PlainArchive() : storing(true) {}
    /// For loading.
    explicit PlainArchive(Bytes content) : bytes(std::move(content)), storing(false) {}

    bool IsStoring() override { return storing; }
    void Read(void* dst, unsigned int byteCount) override {
        Note(byteCount);
        if (byteCount > bytes.size() - position) throw ArchiveFailure{};
        if (byteCount > 0) std::memcpy(dst, bytes.data() + position, byteCount);
        position += byteCount;
    }
    void Write(const void* src, unsigned int byteCount) override {
        Note(byteCount);
        const auto* from = static_cast<const std::uint8_t*>(src);
        bytes.insert(bytes.end(), from, from + byteCount);
    }

    Bytes bytes;
    std::size_t position = 0;
    std::vector<unsigned> sizes;                                         ///< of the reads or writes
    std::size_t failAtAccess = std::numeric_limits<std::size_t>::max();  ///< counted from 1

private:
    void Note(unsigned byteCount) {
        sizes.push_back(byteCount);
        if (sizes.size() == failAtAccess) throw ArchiveFailure{};
    }
    bool storing;
};

}  // namespace testkit
