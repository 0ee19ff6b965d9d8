#include "apps/Image.h"

#include <algorithm>
#include <random>
#include <stdexcept>

namespace test {

int Image::Channels() const {
    switch (kind) {
        case Kind::greyAlpha: return 2;
        case Kind::rgb: return 3;
        case Kind::rgba: return 4;
        default: return 1;
    }
}

std::uint32_t& Image::At(int x, int y, int channel) {
    return samples.at((static_cast<std::size_t>(y) * static_cast<unsigned>(width) + static_cast<unsigned>(x)) *
                          static_cast<unsigned>(Channels()) +
                      static_cast<unsigned>(channel));
}

Bytes MakeProfile(const std::string& colors, std::size_t length) {
    Bytes profile(length);
    for (std::size_t i = 132; i < length; ++i) profile[i] = static_cast<std::uint8_t>(i * i / 7);
    for (std::size_t i = 0; i < 4; ++i) profile[i] = static_cast<std::uint8_t>(length >> (24 - 8 * i));
    const auto put = [&](std::size_t offset, const std::string& text) {
        std::copy(text.begin(), text.end(), profile.begin() + static_cast<std::ptrdiff_t>(offset));
    };
    put(8, "\2\x40");
    put(12, "mntr");
    put(16, colors);
    put(20, "XYZ ");
    put(36, "acsp");
    const Bytes whitePoint{0, 0, 0xF6, 0xD6, 0, 1, 0, 0, 0, 0, 0xD3, 0x2D};  // D50
    std::copy(whitePoint.begin(), whitePoint.end(), profile.begin() + 68);
    return profile;
}

Image RandomImage(Kind kind, int bits, int width, int height, unsigned seed) {
    Image image;
    image.kind = kind;
    image.bits = bits;
    image.width = width;
    image.height = height;
    std::mt19937 random(seed);
    image.samples.resize(static_cast<std::size_t>(width) * static_cast<unsigned>(height * image.Channels()));
    for (std::uint32_t& sample : image.samples) sample = static_cast<std::uint32_t>(random()) & image.Largest();
    if (kind != Kind::palette) return image;
    for (std::uint32_t i = 0; i <= image.Largest(); ++i) {
        const auto color = static_cast<std::uint32_t>(random());
        image.palette.push_back({static_cast<std::uint8_t>(color), static_cast<std::uint8_t>(color >> 8),
                                 static_cast<std::uint8_t>(color >> 16), 255});
    }
    return image;
}

namespace {

std::uint32_t Number(const Bytes& bytes, std::size_t offset, int count) {
    std::uint32_t value = 0;
    for (int i = count; i-- > 0;) value = value << 8 | bytes.at(offset + static_cast<unsigned>(i));
    return value;
}

void Append(Bytes& bytes, std::uint32_t value, int count) {
    for (int i = 0; i < count; ++i, value >>= 8) bytes.push_back(static_cast<std::uint8_t>(value));
}

}  // namespace

Bytes EncodeBmp(const Image& image, bool topDown) {
    const int bits = image.kind == Kind::palette ? image.bits : 8 * image.Channels();
    const bool alpha = image.kind == Kind::rgba;
    const auto colors = static_cast<std::uint32_t>(image.palette.size());
    const std::uint32_t headerBytes = alpha ? 108 : 40;
    const std::uint32_t rowBytes = (static_cast<std::uint32_t>(image.width * bits) + 31) / 32 * 4;
    const std::uint32_t offset = 14 + headerBytes + 4 * colors;
    Bytes bytes{'B', 'M'};
    Append(bytes, offset + rowBytes * static_cast<std::uint32_t>(image.height), 4);
    Append(bytes, 0, 4);
    Append(bytes, offset, 4);
    Append(bytes, headerBytes, 4);
    Append(bytes, static_cast<std::uint32_t>(image.width), 4);
    Append(bytes, static_cast<std::uint32_t>(topDown ? -image.height : image.height), 4);
    Append(bytes, 1, 2);
    Append(bytes, static_cast<std::uint32_t>(bits), 2);
    Append(bytes, alpha ? 3 : 0, 4);
    Append(bytes, 0, 4);
    Append(bytes, static_cast<std::uint32_t>(image.xPixelsPerMeter), 4);
    Append(bytes, static_cast<std::uint32_t>(image.yPixelsPerMeter), 4);
    Append(bytes, colors, 4);
    Append(bytes, 0, 4);
    if (alpha) {
        for (const std::uint32_t mask : {0xFF0000u, 0xFF00u, 0xFFu, 0xFF000000u}) Append(bytes, mask, 4);
        bytes.resize(14 + headerBytes);
    }
    for (const auto& color : image.palette) bytes.insert(bytes.end(), {color[2], color[1], color[0], 0});
    for (int i = 0; i < image.height; ++i) {
        const int y = topDown ? i : image.height - 1 - i;
        Bytes row(rowBytes);
        for (int x = 0; x < image.width; ++x) {
            if (image.kind == Kind::palette) {
                const int bit = x * bits;
                row[static_cast<std::size_t>(bit / 8)] |=
                    static_cast<std::uint8_t>(image.At(x, y, 0) << (8 - bits - bit % 8));
                continue;
            }
            std::uint8_t* pixel = &row[static_cast<std::size_t>(x * bits / 8)];
            for (int c = 0; c < 3; ++c) pixel[2 - c] = static_cast<std::uint8_t>(image.At(x, y, c));
            if (alpha) pixel[3] = static_cast<std::uint8_t>(image.At(x, y, 3));
        }
        bytes.insert(bytes.end(), row.begin(), row.end());
    }
    return bytes;
}

Image DecodeBmp(const Bytes& bytes) {
    if (bytes.at(0) != 'B' || bytes.at(1) != 'M') throw std::runtime_error("no BMP file");
    if (Number(bytes, 2, 4) != bytes.size()) throw std::runtime_error("wrong file size in the BMP header");
    const std::uint32_t offset = Number(bytes, 10, 4), headerBytes = Number(bytes, 14, 4);
    const std::uint32_t bits = Number(bytes, 28, 2), compression = Number(bytes, 30, 4);
    const bool alpha = compression == 3 && Number(bytes, 66, 4) == 0xFF000000;
    if (compression == 3 &&
        (Number(bytes, 54, 4) != 0xFF0000 || Number(bytes, 58, 4) != 0xFF00 || Number(bytes, 62, 4) != 0xFF)) {
        throw std::runtime_error("unexpected masks in the BMP header");
    }
    Image image;
    image.kind = bits <= 8 ? Kind::palette : alpha ? Kind::rgba : Kind::rgb;
    image.bits = bits <= 8 ? static_cast<int>(bits) : 8;
    image.width = static_cast<int>(Number(bytes, 18, 4));
    image.height = static_cast<int>(Number(bytes, 22, 4));
    image.xPixelsPerMeter = static_cast<int>(Number(bytes, 38, 4));
    image.yPixelsPerMeter = static_cast<int>(Number(bytes, 42, 4));
    const std::uint32_t colors = bits <= 8 ? Number(bytes, 46, 4) : 0;
    for (std::uint32_t i = 0; i < colors; ++i) {
        const std::size_t entry = 14 + headerBytes + 4 * i;
        image.palette.push_back({bytes.at(entry + 2), bytes.at(entry + 1), bytes.at(entry), 255});
    }
    image.samples.resize(static_cast<std::size_t>(image.width * image.height * image.Channels()));
    const std::size_t rowBytes = (static_cast<std::size_t>(image.width) * bits + 31) / 32 * 4;
    for (int y = 0; y < image.height; ++y) {
        const std::size_t row = offset + rowBytes * static_cast<unsigned>(image.height - 1 - y);
        for (int x = 0; x < image.width; ++x) {
            const std::size_t bit = static_cast<unsigned>(x) * bits;
            if (bits <= 8) {
                image.At(x, y, 0) = bytes.at(row + bit / 8) >> (8 - bits - bit % 8) & image.Largest();
                continue;
            }
            for (unsigned c = 0; c < 3; ++c) image.At(x, y, static_cast<int>(c)) = bytes.at(row + bit / 8 + 2 - c);
            if (alpha) image.At(x, y, 3) = bytes.at(row + bit / 8 + 3);
        }
    }
    return image;
}

}  // namespace test
