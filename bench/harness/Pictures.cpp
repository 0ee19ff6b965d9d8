#include "harness/Pictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <stdexcept>

#include "harness/Turns.h"

namespace bench {

namespace {

const char* Folder() { return std::getenv("ZBM_PICTURES"); }
std::string PathOf(const std::string& name) { return std::string(Folder()) + "/" + name + ".bgra"; }

void Read(const std::string& path, Pixels& pixels) {
    std::ifstream file(path, std::ios::binary);
    file.read(reinterpret_cast<char*>(pixels.data()), static_cast<std::streamsize>(pixels.size()));
    if (!file || file.peek() != std::ifstream::traits_type::eof())
        throw std::runtime_error(path + " is no picture of 4096 x 4096 pixels of 4 bytes");
}

constexpr int kOctaves = 9;
using Waves = std::array<std::vector<float>, kOctaves>;

/// Waves of falling length and height, as the spectra of photographs fall: for each octave, its height at each place.
Waves MakeWaves(double phase) {
    Waves waves;
    for (int octave = 0; octave < kOctaves; ++octave) {
        const double scale = std::exp2(octave);
        for (int place = 0; place < kPictureSide; ++place) {
            const double angle = 3.1 * scale * place / kPictureSide + phase * (octave + 1);
            waves[static_cast<std::size_t>(octave)].push_back(static_cast<float>(std::sin(angle) / std::sqrt(scale)));
        }
    }
    return waves;
}

/// Fills one channel of every pixel with what waves along and across the picture give together, and with the grain of
/// a sensor. Some of the waves are steps, for a photograph has edges.
void PaintChannel(Pixels& bgra, std::size_t channel, double phase, const Pixels& grain) {
    const Waves across = MakeWaves(phase), along = MakeWaves(2.3 * phase + 1);
    std::vector<float> row(kPictureSide);
    for (std::size_t y = 0, i = channel; y < row.size(); ++y) {
        std::fill(row.begin(), row.end(), 128.0F);
        for (std::size_t octave = 0; octave < along.size(); ++octave) {
            const float height = 75 * along[octave][y], edge = 14;
            for (std::size_t x = 0; x < row.size(); ++x) {
                const float level = height * across[octave][x];
                row[x] += octave % 3 == 2 ? std::copysign(edge, level) : level;
            }
        }
        for (std::size_t x = 0; x < row.size(); ++x, i += 4)
            bgra[i] = static_cast<std::uint8_t>(std::clamp(static_cast<int>(row[x]) + grain[i] % 9 - 4, 0, 255));
    }
}

void PaintByFormula(Pixels& bgra) {
    const Pixels grain = Noise(bgra.size());
    std::fill(bgra.begin(), bgra.end(), std::uint8_t{255});
    // Near phases make the channels go together, as they do in most photographs.
    for (std::size_t channel = 0; channel < 3; ++channel)
        PaintChannel(bgra, channel, 0.7 + 0.12 * static_cast<double>(channel), grain);
}

}  // namespace

Square::Square(shr::ColorFormat which, int sidePixels)
    : format(which),
      side(sidePixels),
      stride(static_cast<int>(shr::RowBytes(static_cast<unsigned>(side), which))),
      pixels(static_cast<std::size_t>(stride) * static_cast<std::size_t>(side)),
      table(static_cast<std::size_t>(shr::ColorFmtToTblSize[which])) {}

std::string PictureOrigin(const std::string& name) {
    return Folder() == nullptr ? "a picture made by a formula (ZBM_PICTURES names no folder)" : name + ".bgra";
}

Square LoadPicture(const std::string& name) {
    Square picture(shr::BGRA_32, kPictureSide);
    if (Folder() == nullptr)
        PaintByFormula(picture.pixels);
    else
        Read(PathOf(name), picture.pixels);
    return picture;
}

const Square& Photograph() {
    static const Square photograph = LoadPicture("photo");
    return photograph;
}

Square CutSquare(const Square& bgra, int side) {
    const int rest = std::max(bgra.side - side, 0), left = rest / 4, top = rest / 3, piece = std::min(side, bgra.side);
    Square square(bgra.format, side);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; x += piece)
            std::memcpy(&square.pixels[std::size_t(y) * std::size_t(square.stride) + std::size_t(4) * std::size_t(x)],
                        &bgra.pixels[static_cast<std::size_t>((top + y % bgra.side) * bgra.stride + 4 * left)],
                        std::size_t(4) * static_cast<std::size_t>(std::min(piece, side - x)));
    return square;
}

Square ToBgra(const Square& picture) {
    Square bgra(shr::BGRA_32, picture.side);
    const auto side = static_cast<std::uint32_t>(picture.side);
    zbm::ConvertPixels(bgra.Rows(), picture.Rows(), side, side);
    return bgra;
}

Pixels Noise(std::size_t bytes) {
    Pixels noise(bytes);
    std::uint64_t state = 88172645463325252u;
    for (auto& byte : noise) {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        byte = static_cast<std::uint8_t>(state >> 56);
    }
    return noise;
}

void Copy::operator()() const {
    std::memcpy(to.data(), from.data(), from.size());
    KeepWrites();
}

}  // namespace bench
