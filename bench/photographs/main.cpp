// Photographs in few colours: the noise and the errors of tone of our dithers beside those of plain ones, and our
// palettes beside libimagequant's where it is found. Prints a row for each photograph and what they come to. How long
// it takes is the contest's business.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

#include "PlainDithers.h"
#include "harness/FilterRun.h"
#include "harness/Statistics.h"
#include "zpixf/ZPixfDither.h"
#include "zpixf/ZPixfQuantize.h"
#if defined(ZBM_HAS_IMAGEQUANT)
#include "ImageQuant.h"
#endif

namespace photographs {
namespace {

using bench::Square;

Square Load(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    const auto side = static_cast<int>(std::lround(std::sqrt(static_cast<double>(bytes.size()) / 4)));
    Square bgra(shr::BGRA_32, side);
    if (bytes.empty() || bytes.size() != bgra.pixels.size())
        throw std::runtime_error(path.string() + " is no square of pixels of 4 bytes");
    std::copy(bytes.begin(), bytes.end(), bgra.pixels.begin());
    return bgra;
}

Palette PaletteOf(const Square& indices, std::size_t count) {
    Palette palette;
    for (std::size_t i = 0; i < count; ++i)
        palette.push_back({indices.table[i].blue, indices.table[i].green, indices.table[i].red, 0});
    return palette;
}

Palette OwnPalette(const Square& bgra, unsigned colors) {
    zpixf::ZPixfQuantizeMedian8 quantizer;
    quantizer.SetDesiredColors(colors);
    Square indices(shr::INDEXED_8, bgra.side);
    MakeIndices(quantizer, bgra, bench::IndexFormat(bgra.side), indices);
    return PaletteOf(indices, quantizer.GetOutputFormat().GetNumColors());
}

template <class Ditherer>
Indices Dithered(const Square& bgra, const Palette& palette, double strength = 1) {
    Ditherer ditherer;
    ditherer.SetStrength(strength);
    zpixf::ZPixFormat format = bench::IndexFormat(bgra.side);
    format.FillColorTable(static_cast<unsigned>(palette.size()), palette.data());
    Square indices(shr::INDEXED_8, bgra.side);
    MakeIndices(ditherer, bgra, format, indices);
    return {indices.pixels.begin(), indices.pixels.end()};
}

bench::Pixels Shown(const Indices& indices, const Palette& palette) {
    bench::Pixels pixels;
    for (const std::uint8_t index : indices) {
        const RGBQUAD& entry = palette[index];
        pixels.insert(pixels.end(), {entry.rgbBlue, entry.rgbGreen, entry.rgbRed, 255});
    }
    return pixels;
}

struct Errors {
    double noise, tone;
};
Errors ErrorsOf(const Square& bgra, const Indices& indices, const Palette& palette) {
    const bench::Pixels shown = Shown(indices, palette);
    return {bench::Noise(shown, bgra.pixels), bench::ToneError(shown, bgra.pixels, bgra.side)};
}

/// How figures stand to a rival's, over all photographs.
class Standing {
public:
    explicit Standing(std::string newTitle) : title(std::move(newTitle)) {}
    void Add(double ours, double theirs) {
        if (theirs > 0) ratios.push_back(ours / theirs);
    }
    void Print() const {
        if (ratios.empty()) return;
        double sum = 0;
        for (const double ratio : ratios) sum += ratio;
        const auto notAbove = std::count_if(ratios.begin(), ratios.end(), [](double ratio) { return ratio <= 1; });
        std::printf("- %s: %.3f in the mean, %.3f at most, not above on %td of %zu\n", title.c_str(),
                    sum / static_cast<double>(ratios.size()), *std::max_element(ratios.begin(), ratios.end()), notAbove,
                    ratios.size());
    }

private:
    std::string title;
    std::vector<double> ratios;
};

void PrintErrors(const Errors& errors) { std::printf(" %.2f / %.3f |", errors.noise, errors.tone); }

void CompareDithers(const std::vector<std::filesystem::path>& files, unsigned colors) {
    std::printf(
        "\n| %u own colours: noise / tone | ordered | blue noise | Knoll's pattern | diffusion | "
        "Floyd-Steinberg |\n|---|---|---|---|---|---|\n",
        colors);
    Standing orderedNoise("ordered, noise to Knoll's"), orderedTone("ordered, tone to Knoll's"),
        diffusedNoise("diffusion, noise to Floyd-Steinberg's"), diffusedTone("diffusion, tone to Floyd-Steinberg's");
    for (const auto& file : files) {
        const Square bgra = Load(file);
        const Palette palette = OwnPalette(bgra, colors);
        const auto errors = [&](const Indices& indices) { return ErrorsOf(bgra, indices, palette); };
        const Errors ordered = errors(Dithered<zpixf::ZPixfDitherOrdered>(bgra, palette)),
                     blue = errors(Dithered<zpixf::ZPixfDitherBlueNoise>(bgra, palette)),
                     knolls = errors(KnollsPattern(bgra, palette)),
                     diffused = errors(Dithered<zpixf::ZPixfDitherDiffuse>(bgra, palette)),
                     plain = errors(FloydSteinberg(bgra, palette));
        std::printf("| %s |", file.stem().string().c_str());
        for (const Errors& each : {ordered, blue, knolls, diffused, plain}) PrintErrors(each);
        std::printf("\n");
        orderedNoise.Add(ordered.noise, knolls.noise);
        orderedTone.Add(ordered.tone, knolls.tone);
        diffusedNoise.Add(diffused.noise, plain.noise);
        diffusedTone.Add(diffused.tone, plain.tone);
    }
    std::printf("\n");
    for (const Standing& standing : {orderedNoise, orderedTone, diffusedNoise, diffusedTone}) standing.Print();
}

#if defined(ZBM_HAS_IMAGEQUANT)
/// Both palettes are shown by their nearest entries.
void ComparePalettes(const std::vector<std::filesystem::path>& files, unsigned colors) {
    std::printf("\n| palettes of %u: squared error / CIE76 dE | Median8 | libimagequant speed 4 |\n|---|---|---|\n",
                colors);
    Standing squared("squared error to libimagequant's"), seen("dE to libimagequant's");
    for (const auto& file : files) {
        const Square bgra = Load(file);
        std::printf("| %s |", file.stem().string().c_str());
        double error[2], difference[2];
        for (const int who : {0, 1}) {
            const Palette palette = who == 0 ? OwnPalette(bgra, colors) : ImageQuantPalette(bgra, colors);
            const bench::Pixels shown = Shown(Dithered<zpixf::ZPixfDitherDiffuse>(bgra, palette, 0), palette);
            error[who] = std::pow(bench::Noise(shown, bgra.pixels), 2);
            difference[who] = bench::ColorDifference(shown, bgra.pixels);
            std::printf(" %.3f / %.3f |", error[who], difference[who]);
        }
        std::printf("\n");
        squared.Add(error[0], error[1]);
        seen.Add(difference[0], difference[1]);
    }
    std::printf("\n");
    squared.Print();
    seen.Print();
}
#endif

void Run(const std::string& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder))
        if (entry.path().extension() == ".bgra") files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    if (files.empty()) throw std::runtime_error(folder + " has no files .bgra");
    for (const unsigned colors : {256U, 16U}) {
        CompareDithers(files, colors);
#if defined(ZBM_HAS_IMAGEQUANT)
        ComparePalettes(files, colors);
#endif
    }
}

}  // namespace
}  // namespace photographs

int main(int argc, char** argv) {
    CLI::App app("Shows photographs in few colours and measures what they lose, beside plain dithers.");
    std::string folder;
    app.add_option("FOLDER", folder, "of square photographs, NAME.bgra, bytes B, G, R, A, opaque")->required();
    CLI11_PARSE(app, argc, argv);
    try {
        photographs::Run(folder);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "photographs: %s\n", error.what());
        return 1;
    }
}
