// Writes the seeds of decode_fuzz: a block of each kind, of few bytes.
//
//     make_decode_corpus FOLDER
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include "zcdl/Codec.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

/// Rows of soft shades with grain in pixels of `step` bytes; words if `step` is 2.
Bytes Photo(std::size_t rowBytes, std::size_t rows, std::size_t step) {
    Bytes bytes(rowBytes * rows);
    unsigned state = 1;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        state = state * 1103515245 + 12345;
        const std::size_t x = i % rowBytes / step, y = i / rowBytes, channel = i % rowBytes % step;
        const std::size_t shade = 60 + 2 * x + 3 * y + 9 * channel + (state >> 16 & 3);
        bytes[i] = static_cast<std::uint8_t>(step == 4 && channel == 3   ? 255
                                             : step == 2 && channel == 1 ? 40 + (x + y) / 9
                                                                         : shade);
    }
    return bytes;
}

Bytes Drawing(std::size_t rowBytes, std::size_t rows) {
    Bytes bytes(rowBytes * rows, 0xFF);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        if (i % rowBytes > 20 && i % rowBytes < 60 && i / rowBytes % 7 > 2)
            bytes[i] = static_cast<std::uint8_t>(i / rowBytes);
    return bytes;
}

void Write(const std::string& folder, const std::string& name, const Bytes& content, zcdl::CodecMethod method) {
    zcdl::CEncode encoder(method);
    encoder.Encode(content.data(), content.size());
    Bytes seed = {static_cast<std::uint8_t>(method), static_cast<std::uint8_t>(content.size()),
                  static_cast<std::uint8_t>(content.size() >> 8), static_cast<std::uint8_t>(content.size() >> 16)};
    seed.insert(seed.end(), encoder.GetEncodedBytes(), encoder.GetEncodedBytes() + encoder.GetNumEncodedBytes());
    std::ofstream file(folder + "/" + name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(seed.data()), static_cast<std::streamsize>(seed.size()));
    std::printf("%s: %zu bytes, kind %d\n", name.c_str(), seed.size(), seed[4]);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_decode_corpus FOLDER\n");
        return 2;
    }
    const std::string folder = argv[1];
    using zcdl::CodecMethod;
    Write(folder, "empty", {}, CodecMethod::balanced);
    Write(folder, "stored", Photo(16, 2, 1), CodecMethod::stored);
    Write(folder, "repeated", Bytes(70000, 5), CodecMethod::fast);
    Write(folder, "drawing", Drawing(128, 24), CodecMethod::balanced);
    Write(folder, "drawing-planes", Drawing(128, 24), CodecMethod::small);
    Write(folder, "photo-grey", Photo(32, 24, 1), CodecMethod::fast);
    Write(folder, "photo-words", Photo(48, 24, 2), CodecMethod::balanced);
    Write(folder, "photo-bgr", Photo(44, 24, 3), CodecMethod::balanced);
    Write(folder, "photo-bgra", Photo(64, 24, 4), CodecMethod::fast);
    Write(folder, "photo-bgra-wide", Photo(512, 3, 4), CodecMethod::balanced);
    return 0;
}
