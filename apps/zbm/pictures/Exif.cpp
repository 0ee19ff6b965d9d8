#include "pictures/Exif.h"

#include <optional>

#include "pictures/Resolution.h"

namespace tool {

namespace {

enum class Tag : std::uint32_t { orientation = 0x112, xResolution = 0x11A, yResolution = 0x11B, unit = 0x128 };
constexpr std::uint32_t kShort = 3, kRational = 5;

/// The data as numbers in its own byte order. What lies outside reads as nothing.
class ExifData {
public:
    ExifData(const std::uint8_t* bytes, std::size_t count)
        : data(bytes), byteCount(count), bigEndian(count > 0 && bytes[0] == 'M') {}

    std::optional<std::uint32_t> Number(std::size_t offset, std::size_t length) const {
        if (offset > byteCount || byteCount - offset < length) return std::nullopt;
        std::uint32_t value = 0;
        for (std::size_t i = 0; i < length; ++i) {
            value = value << 8 | data[bigEndian ? offset + i : offset + length - 1 - i];
        }
        return value;
    }
    std::uint32_t NumberOrZero(std::size_t offset, std::size_t length) const {
        return Number(offset, length).value_or(0);
    }

    double Rational(std::size_t entry) const {
        const std::size_t offset = NumberOrZero(entry + 8, 4);
        const std::uint32_t denominator = NumberOrZero(offset + 4, 4);
        return denominator == 0 ? 0 : static_cast<double>(NumberOrZero(offset, 4)) / denominator;
    }

private:
    const std::uint8_t* data;
    std::size_t byteCount;
    bool bigEndian;
};

}  // namespace

Exif ReadExif(const std::uint8_t* data, std::size_t byteCount) {
    const ExifData numbers(data, byteCount);
    Exif exif;
    double x = 0, y = 0;
    ResolutionUnit unit = ResolutionUnit::inch;
    if (numbers.NumberOrZero(2, 2) != 42) return exif;
    const std::size_t directory = numbers.NumberOrZero(4, 4);
    const std::uint32_t entries = numbers.NumberOrZero(directory, 2);
    for (std::uint32_t i = 0; i < entries; ++i) {
        const std::size_t entry = directory + 2 + 12 * std::size_t{i};
        if (!numbers.Number(entry, 4) || !numbers.Number(entry + 8, 4)) break;
        const auto tag = static_cast<Tag>(numbers.NumberOrZero(entry, 2));
        const std::uint32_t type = numbers.NumberOrZero(entry + 2, 2);
        const auto value = static_cast<int>(numbers.NumberOrZero(entry + 8, 2));
        if (tag == Tag::orientation && type == kShort && value >= 1 && value <= 8) exif.orientation = value;
        if (tag == Tag::unit && type == kShort) unit = static_cast<ResolutionUnit>(value);
        if (tag == Tag::xResolution && type == kRational) x = numbers.Rational(entry);
        if (tag == Tag::yResolution && type == kRational) y = numbers.Rational(entry);
    }
    exif.xPixelsPerMeter = PixelsPerMeter(x, unit);
    exif.yPixelsPerMeter = PixelsPerMeter(y, unit);
    return exif;
}

OrientationExif ExifOf(int orientation) {
    return {'M',  'M',  0, 42, 0, 0, 0, 8,                                                   // the directory's place
            0,    1,                                                                         // its entries
            0x01, 0x12, 0, 3,  0, 0, 0, 1, 0, static_cast<std::uint8_t>(orientation), 0, 0,  //
            0,    0,    0, 0};                                                               // no other directory
}

}  // namespace tool
