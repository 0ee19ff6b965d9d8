#pragma once
// Files of bitmaps put together by hand: what is written is judged, and what is opened is made, without the code under
// test.
#include <cstdint>
#include <string>
#include <vector>

#include "support/shared/FileTesting.h"
#include "support_code/Pixels.h"

namespace testkit {

using Bytes = std::vector<std::uint8_t>;

inline constexpr char kStoreSignature[] = "ZVSRFS{EFBEE140-81DC-4651-9A18-AAE60DC7ADD1}";
inline constexpr char kBitmapSignature[] = "ZVSRFB{FC3D43BA-281B-4C12-9870-6FDCC9FAADF1}";
inline constexpr std::int64_t kTablePosition = 2577, kFirstStore = 509;

/// Little-endian values one behind the other; the gap up to a position is filled with zeros.
class FileImage {
public:
    FileImage& U32(std::uint64_t value) { return Value(value, 4); }
    FileImage& I64(std::int64_t value) { return Value(static_cast<std::uint64_t>(value), 8); }
    FileImage& Zeros(std::size_t count) { return Fill(count, 0); }
    FileImage& Fill(std::size_t count, std::uint8_t value) {
        bytes.resize(bytes.size() + count, value);
        return *this;
    }
    FileImage& Add(const Bytes& more) {
        for (const std::uint8_t byte : more) bytes.push_back(byte);
        return *this;
    }
    /// The text with its zero byte, and the version.
    FileImage& Signature(const char* text) {
        for (const char* c = text; *c != '\0'; ++c) bytes.push_back(static_cast<std::uint8_t>(*c));
        return Zeros(1).U32(1);
    }
    const Bytes& Take() const { return bytes; }

private:
    FileImage& Value(std::uint64_t value, int size) {
        for (int i = 0; i < size; ++i) bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
        return *this;
    }
    Bytes bytes;
};

/// The fields of a store's header, as they stand in the file.
struct HeaderFields {
    int height, width, tileHeight, tileWidth, format;
    std::vector<shr::Color4b> colors{};  ///< the others are black
    int xResolution = 0, yResolution = 0;
    std::int64_t tablePosition = kTablePosition;
    int count = -1;  ///< of the colours, if it is not that of `colors`

    Bytes Image() const {
        FileImage image;
        for (const int value : {height, width, tileHeight, tileWidth, format})
            image.U32(static_cast<std::uint32_t>(value));
        image.U32(count < 0 ? colors.size() : static_cast<std::uint32_t>(count));
        for (std::size_t i = 0; i < 256; ++i) {
            const shr::Color4b color = i < colors.size() ? colors[i] : shr::Color4b(0, 0, 0);
            image.Add({color.red, color.green, color.blue, color.alpha});
        }
        image.U32(static_cast<std::uint32_t>(xResolution)).U32(static_cast<std::uint32_t>(yResolution));
        return image.I64(tablePosition).Zeros(200).Take();
    }
};

using Positions = std::vector<std::vector<std::int64_t>>;

inline Bytes TableImage(const Positions& rows) {
    FileImage image;
    image.U32(rows.size());
    for (const auto& row : rows) {
        image.U32(row.size());
        for (const std::int64_t position : row) image.I64(position);
    }
    return image.Take();
}

/// A store up to the end of its table.
inline Bytes StoreImage(const HeaderFields& header, const Positions& positions) {
    return FileImage().Signature(kStoreSignature).Add(header.Image()).Zeros(1264).Add(TableImage(positions)).Take();
}

/// The resolution of a picture of unknown size: 6 inches along its longer side.
inline int DefaultResolution(int longerSide) { return static_cast<int>(longerSide / 6.0 / 0.0254 + 0.5); }

}  // namespace testkit
