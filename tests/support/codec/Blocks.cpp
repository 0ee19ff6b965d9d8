#include "Blocks.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace codec_tests {
namespace {

std::size_t PaddedRowBytes(std::size_t bits) { return (bits + 31) / 32 * 4; }

}  // namespace

Picture Photo(std::size_t width, std::size_t height, std::size_t step, unsigned noise) {
    const std::size_t rowBytes = PaddedRowBytes(8 * step * width);
    Picture picture{"Photo" + std::to_string(step) + "x" + std::to_string(width) + "n" + std::to_string(noise),
                    rowBytes, Bytes(rowBytes * height)};
    Random random(width * 31 + height * 7 + step);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const unsigned shade = static_cast<unsigned>(40 + x * 2 + y * 3 + (x * y) / 64) % 200;
            for (std::size_t c = 0; c < step; ++c) {
                const unsigned grain = noise == 0 ? 0 : random.Below(noise);
                picture.bytes[y * rowBytes + x * step + c] =
                    static_cast<std::uint8_t>(step == 4 && c == 3 ? 255 : shade + 10 * c + grain);
            }
        }
    }
    return picture;
}

Picture GreyWords(std::size_t width, std::size_t height) {
    const std::size_t rowBytes = PaddedRowBytes(16 * width);
    Picture picture{"GreyWords" + std::to_string(width), rowBytes, Bytes(rowBytes * height)};
    Random random(width);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const auto grey = static_cast<unsigned>(20000 + 300 * x + 170 * y) + random.Below(60);
            picture.bytes[y * rowBytes + 2 * x] = static_cast<std::uint8_t>(grey);
            picture.bytes[y * rowBytes + 2 * x + 1] = static_cast<std::uint8_t>(grey >> 8);
        }
    }
    return picture;
}

Picture Drawing(std::size_t width, std::size_t height, std::size_t step) {
    const std::size_t rowBytes = PaddedRowBytes(8 * step * width);
    Picture picture{"Drawing" + std::to_string(step) + "x" + std::to_string(width), rowBytes, Bytes(rowBytes * height)};
    Random random(width + step);
    for (int shape = 0; shape < 12; ++shape) {
        const std::size_t left = random.Below(static_cast<std::uint32_t>(width)),
                          top = random.Below(static_cast<std::uint32_t>(height));
        const std::size_t right = std::min<std::size_t>(width, left + 1 + random.Below(40));
        const std::size_t bottom = std::min<std::size_t>(height, top + 1 + random.Below(30));
        std::uint8_t color[4];
        for (std::uint8_t& c : color) c = static_cast<std::uint8_t>(random.Below(4) * 85);
        for (std::size_t y = top; y < bottom; ++y)
            for (std::size_t x = left; x < right; ++x)
                std::memcpy(&picture.bytes[y * rowBytes + x * step], color, step);
    }
    return picture;
}

Picture Mask(std::size_t width, std::size_t height) {
    const std::size_t rowBytes = PaddedRowBytes(width);
    Picture picture{"Mask" + std::to_string(width), rowBytes, Bytes(rowBytes * height)};
    const auto radius = static_cast<long>(std::min(width, height) / 2);
    for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
            const long dx = static_cast<long>(x) - static_cast<long>(width / 2);
            const long dy = static_cast<long>(y) - static_cast<long>(height / 2);
            if (dx * dx + dy * dy < radius * radius)
                picture.bytes[y * rowBytes + x / 8] |= static_cast<std::uint8_t>(0x80 >> (x & 7));
        }
    }
    return picture;
}

Picture Noise(std::size_t byteCount) {
    Picture picture{"Noise" + std::to_string(byteCount), byteCount, Bytes(byteCount)};
    Random random(byteCount);
    for (std::uint8_t& b : picture.bytes) b = static_cast<std::uint8_t>(random.Next());
    return picture;
}

Picture Flat(std::size_t byteCount) { return {"Flat" + std::to_string(byteCount), byteCount, Bytes(byteCount, 0xC8)}; }

std::vector<Picture> SmallPictures() {
    return {Photo(12, 10, 4, 5), Photo(13, 12, 3, 5), Photo(20, 16, 1, 3),
            Photo(9, 17, 4, 40), GreyWords(14, 12),   Drawing(20, 12, 4),
            Mask(70, 20),        Noise(90),           Flat(150)};
}

std::vector<Picture> LargePictures() {
    std::vector<Picture> pictures;
    for (const std::size_t width : {1u, 2u, 3u, 7u, 16u, 31u, 33u, 100u, 257u}) {
        for (const std::size_t height : {1u, 5u, 16u, 40u}) {
            for (const std::size_t step : {1u, 3u, 4u}) pictures.push_back(Photo(width, height, step, 6));
            pictures.push_back(GreyWords(width, height));
            pictures.push_back(Mask(width, height));
        }
    }
    for (const std::size_t step : {1u, 2u, 3u, 4u}) {
        pictures.push_back(Photo(300, 200, step, 0));
        pictures.push_back(Photo(301, 203, step, 2));
        pictures.push_back(Photo(301, 203, step, 60));
        pictures.push_back(Drawing(301, 203, step));
    }
    pictures.push_back(GreyWords(301, 203));
    pictures.push_back(Mask(1000, 700));
    pictures.push_back(Noise(70001));
    pictures.push_back(Flat(400000));
    return pictures;
}

Bytes Encode(const Bytes& content, zcdl::CodecMethod method) {
    zcdl::CEncode encoder(method);
    encoder.Encode(content.data(), content.size());
    return Bytes(encoder.GetEncodedBytes(), encoder.GetEncodedBytes() + encoder.GetNumEncodedBytes());
}

Decoded Decode(const Bytes& block, std::size_t byteCount) {
    zcdl::CDecode decoder;
    decoder.SetEncodeBufferSize(static_cast<std::uint32_t>(block.size()));
    if (!block.empty()) std::memcpy(decoder.GetEncodeBuffer(), block.data(), block.size());
    const std::unique_ptr<std::uint8_t[]> dst(new std::uint8_t[byteCount]);
    std::memset(dst.get(), 0xEE, byteCount);
    const bool whole = decoder.Decode(dst.get(), byteCount);
    return {whole, Bytes(dst.get(), dst.get() + byteCount)};
}

std::uint32_t ChecksumOf(const Bytes& bytes) {
    Bytes padded = bytes;
    padded.resize((bytes.size() + 31) / 32 * 32);
    std::uint32_t sums[8] = {}, sumsOfSums[8] = {};
    for (std::size_t i = 0; i < padded.size(); i += 4) {
        const std::size_t lane = i / 4 % 8;
        for (std::size_t k = 4; k-- > 0;) sums[lane] += std::uint32_t{padded[i + k]} << (8 * k);
        sumsOfSums[lane] += sums[lane];
    }
    auto hash = static_cast<std::uint32_t>(bytes.size());
    for (std::size_t lane = 0; lane < 8; ++lane) {
        hash = (hash ^ sums[lane]) * 0x9E3779B1u;
        hash ^= hash >> 15;
        hash = (hash ^ sumsOfSums[lane]) * 0x85EBCA77u;
        hash ^= hash >> 13;
    }
    return hash;
}

Bytes Sealed(Bytes body) {
    const std::uint32_t sum = ChecksumOf(body);
    for (int shift = 0; shift < 32; shift += 8) body.push_back(static_cast<std::uint8_t>(sum >> shift));
    return body;
}

Bytes Resealed(Bytes block) {
    block.resize(block.size() - 4);
    return Sealed(std::move(block));
}

bool IsZero(const Bytes& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::uint8_t b) { return b == 0; });
}

}  // namespace codec_tests
