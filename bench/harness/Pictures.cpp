#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

namespace contest {

namespace {

constexpr std::size_t kPixelBytes = 4;
constexpr std::size_t kPictureBytes = kPictureSide * kPictureSide * kPixelBytes;

Pixels ReadFile(const std::string& path) {
    Pixels bytes(kPictureBytes);
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file || file.peek() != std::ifstream::traits_type::eof())
        throw std::runtime_error(path + " is no picture of 4096 x 4096 pixels of 4 bytes");
    return bytes;
}

/// Waves of falling length and height, as the spectra of photographs fall: for each octave, its height at each place.
std::vector<std::vector<float>> Waves(double phase) {
    constexpr int kOctaves = 9;
    std::vector<std::vector<float>> waves(kOctaves, std::vector<float>(kPictureSide));
    for (int octave = 0; octave < kOctaves; ++octave) {
        const double scale = std::exp2(octave);
        for (std::size_t place = 0; place < kPictureSide; ++place) {
            const double angle = 3.1 * scale * static_cast<double>(place) / kPictureSide + phase * (octave + 1);
            waves[static_cast<std::size_t>(octave)][place] = static_cast<float>(std::sin(angle) / std::sqrt(scale));
        }
    }
    return waves;
}

/// The grain of a sensor: -4 to 4.
int Grain(std::size_t i) {
    std::uint64_t bits = (i + 1) * 0x9e3779b97f4a7c15u;
    bits ^= bits >> 29;
    bits *= 0xbf58476d1ce4e5b9u;
    return static_cast<int>(bits >> 33) % 9 - 4;
}

/// Fills one channel of every pixel with what waves along and across the picture give together. Some of the waves are
/// steps, for a photograph has edges.
void PaintChannel(Pixels& bgra, std::size_t channel, double phase) {
    const auto across = Waves(phase), along = Waves(2.3 * phase + 1);
    constexpr float kEdge = 14;
    std::vector<float> row(kPictureSide);
    for (std::size_t y = 0; y < kPictureSide; ++y) {
        std::fill(row.begin(), row.end(), 128.0F);
        for (std::size_t octave = 0; octave < along.size(); ++octave) {
            const float height = 75 * along[octave][y];
            const bool hasEdges = octave % 3 == 2;
            for (std::size_t x = 0; x < kPictureSide; ++x)
                row[x] += hasEdges ? std::copysign(kEdge, height * across[octave][x]) : height * across[octave][x];
        }
        for (std::size_t x = 0; x < kPictureSide; ++x) {
            const std::size_t i = (y * kPictureSide + x) * kPixelBytes + channel;
            bgra[i] = static_cast<std::uint8_t>(std::clamp(static_cast<int>(row[x]) + Grain(i), 0, 255));
        }
    }
}

Pixels PaintByFormula() {
    Pixels bgra(kPictureBytes, 255);
    // Near phases make the channels go together, as they do in most photographs.
    for (std::size_t channel = 0; channel < 3; ++channel)
        PaintChannel(bgra, channel, 0.7 + 0.12 * static_cast<double>(channel));
    return bgra;
}

}  // namespace

Picture LoadPicture(const std::string& name) {
    const char* folder = std::getenv("ZBM_PICTURES");
    if (folder == nullptr) return {"a picture made by a formula (ZBM_PICTURES names no folder)", PaintByFormula()};
    return {name + ".bgra", ReadFile(std::string(folder) + "/" + name + ".bgra")};
}

Pixels CutSquare(const Picture& picture, std::size_t side) {
    const std::size_t left = (kPictureSide - side) / 4, top = (kPictureSide - side) / 3;
    const std::size_t rowBytes = side * kPixelBytes;
    Pixels square(side * rowBytes);
    for (std::size_t y = 0; y < side; ++y)
        std::memcpy(&square[y * rowBytes], &picture.bgra[((top + y) * kPictureSide + left) * kPixelBytes], rowBytes);
    return square;
}

}  // namespace contest
