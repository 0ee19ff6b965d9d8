// The speed of every pair of pixel formats on a tile of 512 x 512 pixels, as a table in Markdown.
//
//     convert_pairs [--rounds N] [--json FILE]
//
// The tile is cut from photo.bgra of the folder that ZBM_PICTURES names, or from a picture made by a formula. Pairs
// that choose a colour table (Median5) are set in italics; equal formats copy; the pair RGBA to BGRX goes through a row
// of BGRA.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "Pictures.h"
#include "Records.h"
#include "Turns.h"
#include "convert/ConvertEveryPair.h"
#include "shr/ColorFormat.h"

namespace {

using contest::Pixels;

constexpr auto kSide = static_cast<std::uint32_t>(contest::kTileSide);
constexpr double kMegapixels = kSide * kSide / 1e6;

constexpr int kFormats = shr::kColorFormats - 1;
constexpr std::array<const char*, kFormats> kNames = {"grey 1",  "grey 4",  "grey 8",  "grey 16", "grey 32",
                                                      "index 1", "index 4", "index 8", "BGR",     "BGRA",
                                                      "RGBA",    "BGRX",    "PBGRA"};

/// The tile in one format.
struct Tile {
    explicit Tile(shr::ColorFormat which)
        : format(which),
          stride(static_cast<int>(shr::RowBytes(kSide, which))),
          pixels(static_cast<std::size_t>(stride) * kSide),
          table(static_cast<std::size_t>(shr::ColorFmtToTblSize[which])) {}

    zbm::PixelRows Rows() { return {pixels.data(), format, stride, table.empty() ? nullptr : table.data()}; }
    zbm::ConstPixelRows ConstRows() const {
        return {pixels.data(), format, stride, table.empty() ? nullptr : table.data()};
    }

    shr::ColorFormat format;
    int stride;
    Pixels pixels;
    std::vector<shr::Color4b> table;
};

shr::ColorFormat FormatAt(int index) { return static_cast<shr::ColorFormat>(index + 1); }

void Convert(Tile& to, const Tile& from) { zbm::ConvertEveryPair(to.Rows(), from.ConstRows(), kSide, kSide); }

std::vector<Tile> MakeTiles() {
    Tile original(shr::BGRA_32);
    const contest::Picture picture = contest::LoadPicture("photo");
    std::printf("A tile of %s, MP/s.\n\n", picture.description.c_str());
    original.pixels = CutSquare(picture, kSide);
    // Every alpha occurs, so that premultiplied pixels are not all alike.
    for (std::size_t i = 0; i < original.pixels.size(); i += 4)
        original.pixels[i + 3] = static_cast<std::uint8_t>(i / 512);
    std::vector<Tile> tiles;
    for (int i = 0; i < kFormats; ++i) {
        tiles.emplace_back(FormatAt(i));
        Convert(tiles.back(), original);
    }
    return tiles;
}

bool ChoosesColors(shr::ColorFormat from, shr::ColorFormat to) {
    const bool toIndex = to >= shr::INDEXED_1 && to <= shr::INDEXED_8;
    const bool fromGrey = from <= shr::GRAYSCALE_32;
    return toIndex && !fromGrey && (from >= shr::BGR_24 || from > to);
}

double Measure(const Tile& from, Tile& to, int rounds) {
    const std::vector<contest::Contestant> alone = {contest::InThisProcess("", [&] { Convert(to, from); })};
    return kMegapixels / contest::TakeTurns(alone, rounds).front();
}

struct Slowest {
    double speed = std::numeric_limits<double>::infinity();
    int from = 0, to = 0;
};

void PrintHead() {
    std::printf("| from \\ to |");
    for (const char* name : kNames) std::printf(" %s |", name);
    std::printf("\n|---|");
    for (int i = 0; i < kFormats; ++i) std::printf("---:|");
    std::printf("\n");
}

class PairTable {
public:
    PairTable(std::vector<Tile> sources, int roundsOfEach, contest::Records& kept)
        : tiles(std::move(sources)), rounds(roundsOfEach), records(kept) {}

    void Print() {
        PrintHead();
        for (int from = 0; from < kFormats; ++from) {
            std::printf("| %s |", kNames[Index(from)]);
            for (int to = 0; to < kFormats; ++to) PrintCell(from, to);
            std::printf("\n");
        }
        std::printf("\nSlowest of those that choose no colours: %s to %s, %.0f MP/s.\n", kNames[Index(slowest.from)],
                    kNames[Index(slowest.to)], slowest.speed);
    }

private:
    static std::size_t Index(int format) { return static_cast<std::size_t>(format); }

    void PrintCell(int from, int to) {
        Tile result(FormatAt(to));
        const double speed = Measure(tiles[Index(from)], result, rounds);
        const bool choosesColors = ChoosesColors(FormatAt(from), FormatAt(to));
        std::printf(choosesColors ? " *%.0f* |" : " %.0f |", speed);
        std::fflush(stdout);
        if (!choosesColors && speed < slowest.speed) slowest = {speed, from, to};
        records.Add({{"op", kNames[Index(from)] + std::string(" to ") + kNames[Index(to)]},
                     {"size", double(kSide)},
                     {"who", "ours"},
                     {"mps", speed},
                     {"chooses_colours", choosesColors}});
    }

    std::vector<Tile> tiles;
    int rounds;
    contest::Records& records;
    Slowest slowest;
};

}  // namespace

int main(int argc, char** argv) try {
    int rounds = 15;
    std::string jsonFile;
    for (int i = 1; i < argc; i += 2) {
        const std::string key = argv[i];
        if (i + 1 == argc || (key != "--rounds" && key != "--json")) {
            std::fputs("convert_pairs [--rounds N] [--json FILE]\n", stderr);
            return 2;
        }
        if (key == "--rounds")
            rounds = std::max(1, std::atoi(argv[i + 1]));
        else
            jsonFile = argv[i + 1];
    }
    contest::Records records(jsonFile);
    PairTable(MakeTiles(), rounds, records).Print();
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "convert_pairs: %s\n", error.what());
    return 1;
}
