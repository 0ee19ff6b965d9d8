#pragma once
// Records on disk are lists of fields: a class's Fields walks them once for reading and once for writing.
//
//     template <class Self, class Coder> static void Fields(Self& self, Coder& coder) {
//         coder.I32(self.width);
//         coder.Bytes(self.reserved, sizeof self.reserved);
//     }
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace zbm {

/// Puts values into bytes, the least significant byte first.
class LittleEndianWriter {
public:
    explicit LittleEndianWriter(std::size_t expectedBytes) { bytes.reserve(expectedBytes); }

    void U32(std::uint32_t value) { Put<4>(value); }
    void I32(std::int32_t value) { Put<4>(static_cast<std::uint32_t>(value)); }
    void I64(std::int64_t value) { Put<8>(static_cast<std::uint64_t>(value)); }
    template <class E>
    void Enum(E value) {
        I32(static_cast<std::int32_t>(value));
    }
    void Bytes(const void* from, std::size_t count) {
        const auto* first = static_cast<const std::uint8_t*>(from);
        bytes.insert(bytes.end(), first, first + count);
    }
    const std::vector<std::uint8_t>& Result() const noexcept { return bytes; }

private:
    template <std::size_t count>
    void Put(std::uint64_t value) {
        std::uint8_t piece[count];
        for (std::size_t i = 0; i < count; ++i) piece[i] = static_cast<std::uint8_t>(value >> (8 * i));
        Bytes(piece, count);
    }

    std::vector<std::uint8_t> bytes;
};

/// Takes values from bytes, of which there must be enough.
class LittleEndianReader {
public:
    explicit LittleEndianReader(const std::uint8_t* first) noexcept : next(first) {}

    void U32(std::uint32_t& value) { value = static_cast<std::uint32_t>(Get<4>()); }
    void I32(std::int32_t& value) { value = static_cast<std::int32_t>(Get<4>()); }
    void I64(std::int64_t& value) { value = static_cast<std::int64_t>(Get<8>()); }
    template <class E>
    void Enum(E& value) {
        value = static_cast<E>(static_cast<std::int32_t>(Get<4>()));
    }
    void Bytes(void* to, std::size_t count) {
        std::memcpy(to, next, count);
        next += count;
    }

private:
    template <std::size_t count>
    std::uint64_t Get() {
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < count; ++i) value |= std::uint64_t{next[i]} << (8 * i);
        next += count;
        return value;
    }

    const std::uint8_t* next;
};

/// A record's bytes.
template <class Record>
std::vector<std::uint8_t> Encode(const Record& record, std::size_t byteCount) {
    LittleEndianWriter writer(byteCount);
    Record::Fields(record, writer);
    return writer.Result();
}

template <class Record>
void Decode(Record& record, const std::uint8_t* bytes) {
    LittleEndianReader reader(bytes);
    Record::Fields(record, reader);
}

}  // namespace zbm
