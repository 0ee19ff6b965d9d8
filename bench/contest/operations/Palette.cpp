// Quantisers and ditherers beside Pillow and libimagequant: how long, and how near to the picture. All give a byte a
// pixel and a colour table.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Contest.h"
#include "rivals/ImageQuant.h"
#include "operations/ConvertRules.h"
#include "convert/ZBMColorFormat.h"
#include "shr/ColorFormat.h"
#include "zbm/ColorTableMatcher.h"

namespace contest {

namespace {

/// One who takes part, whose result can be had in full colours.
struct Painter {
    Contestant contestant;
    bool isOurs;
    std::function<Pixels()> bgra;
};

Painter MakePainter(std::string name, bool isOurs, std::function<void(IndexedPicture&)> paint) {
    const auto result = std::make_shared<IndexedPicture>();
    return {InThisProcess(std::move(name), [result, paint = std::move(paint)] { paint(*result); }), isOurs,
            [result] { return result->ToBgra(); }};
}
Painter Ours(std::string name, std::function<void(IndexedPicture&)> paint) {
    return MakePainter(std::move(name), true, std::move(paint));
}
Painter Rival(std::string name, std::function<void(IndexedPicture&)> paint) {
    return MakePainter(std::move(name), false, std::move(paint));
}

double PeakSignalToNoise(const Pixels& a, const Pixels& b) {
    double squares = 0;
    for (std::size_t i = 0; i < a.size(); i += 4) {
        int sum = 0;
        for (std::size_t c = i; c < i + 3; ++c) sum += (a[c] - b[c]) * (a[c] - b[c]);
        squares += sum;
    }
    if (squares == 0) return std::numeric_limits<double>::infinity();
    return 10 * std::log10(255.0 * 255.0 * 3 * kPicturePixels / squares);
}

std::size_t CountColors(const Pixels& bgra) {
    std::vector<bool> seen(std::size_t{1} << 24);
    for (std::size_t i = 0; i < bgra.size(); i += 4)
        seen[bgra[i] | std::size_t{bgra[i + 1]} << 8 | std::size_t{bgra[i + 2]} << 16] = true;
    return static_cast<std::size_t>(std::count(seen.begin(), seen.end(), true));
}

struct Score {
    std::string name;
    bool isOurs;
    double seconds, decibels;
    std::size_t colors;
};

constexpr double kMegapixels = kPicturePixels / 1e6;

/// Each line is also compared with each of ours.
void PrintTable(const std::string& title, const std::vector<Score>& scores) {
    std::printf("\n%-28s %8s %8s %7s %7s", title.c_str(), "seconds", "MP/s", "dB", "colours");
    for (const Score& own : scores)
        if (own.isOurs) std::printf("  | %18s", own.name.c_str());
    std::printf("\n");
    for (const Score& score : scores) {
        std::printf("%-28s %8.3f %8.1f %7.2f %7zu", score.name.c_str(), score.seconds, kMegapixels / score.seconds,
                    score.decibels, score.colors);
        for (const Score& own : scores)
            if (own.isOurs)
                std::printf("  | %6.2f x %+6.2f dB", score.seconds / own.seconds, score.decibels - own.decibels);
        std::printf("\n");
    }
    std::fflush(stdout);
}

void Record(Records& records, const std::string& contest, const std::vector<Score>& scores) {
    for (const Score& score : scores) {
        std::vector<Field> fields = {{"op", contest},
                                     {"size", double(kPictureSide)},
                                     {"who", score.name},
                                     {"mps", kMegapixels / score.seconds},
                                     {"seconds", score.seconds},
                                     {"psnr", score.decibels},
                                     {"colours", double(score.colors)}};
        const auto own = std::find_if(scores.begin(), scores.end(), [](const Score& s) { return s.isOurs; });
        if (own != scores.end()) {
            fields.push_back({"beside", own->name});
            fields.push_back({"ours_to_it", score.seconds / own->seconds});
        }
        records.Add(fields);
    }
}

class QuantizeContest {
public:
    explicit QuantizeContest(Setting& common) : setting(common), bgra(common.picture.bgra), rgba(bgra.size()) {
        rules::SwapRedAndBlue(bgra.data(), rgba.data(), kPicturePixels, nullptr);
    }

    void Hold() {
        for (const int colors : {256, 16}) HoldOne("quantise " + std::to_string(colors), [&] { EnterAll(colors); });
        HoldOne("quantise and dither 256", [&] { EnterQuantizersWithDither(); });
        HoldOne("dither to a palette", [&] { EnterDitherToPalette(); });
        HoldOne("dither to fixed colours", [&] { EnterDitherToFixed(); });
        HoldOne("map to a table", [&] { EnterMapToTable(); });
    }
    bool IsExact() const { return isExact; }

private:
    void HoldOne(const std::string& name, const std::function<void()>& enter) {
        if (!setting.Wants(name)) return;
        painters.clear();
        if (setting.pillow.TakesPart()) setting.pillow.SetSource(bgra, kPictureSide, nullptr);
        enter();
        std::vector<Contestant> contestants;
        for (const Painter& painter : painters) contestants.push_back(painter.contestant);
        const std::vector<double> seconds = TakeTurns(contestants, std::max(1, setting.rounds / 5));
        std::vector<Score> scores;
        for (std::size_t i = 0; i < painters.size(); ++i) scores.push_back(ScoreOf(painters[i], seconds[i]));
        PrintTable(name, scores);
        Record(setting.records, name, scores);
    }
    Score ScoreOf(const Painter& painter, double seconds) const {
        const Pixels result = painter.bgra();
        return {painter.contestant.name, painter.isOurs, seconds, PeakSignalToNoise(result, bgra), CountColors(result)};
    }

    template <class Quantizer>
    void EnterQuantizer(const char* name, int colors) {
        painters.push_back(Ours(name, [this, colors](IndexedPicture& result) {
            Quantizer quantizer;
            Quantize(quantizer, bgra, static_cast<unsigned>(colors), result);
        }));
    }
    void EnterPillow(const std::string& name, const std::string& job) {
        Pillow& pillow = setting.pillow;
        if (!pillow.TakesPart()) return;
        painters.push_back({pillow.Enter("Pillow " + name, job), false, [&pillow, job] { return pillow.Result(job); }});
    }
    void EnterLiq(int colors, bool dithers) {
        for (const int speed : {4, 10}) {
            painters.push_back(Rival("libimagequant speed " + std::to_string(speed), [=, this](IndexedPicture& result) {
                LiqChoice(rgba, colors, speed).Map(dithers, result);
            }));
        }
    }
    void EnterLiqMap(bool dithers) {
        const auto choice = std::make_shared<LiqChoice>(rgba, 256, 10);
        painters.push_back(Rival("libimagequant, own colours",
                                 [choice, dithers](IndexedPicture& result) { choice->Map(dithers, result); }));
    }

    void EnterAll(int colors) {
        EnterQuantizer<zpixf::ZPixfQuantizeMedian8>("Median8", colors);
        EnterQuantizer<zpixf::ZPixfQuantizeMedian5>("Median5", colors);
        EnterQuantizer<zpixf::ZPixfQuantizePopularity>("Popularity", colors);
        EnterPillow("MEDIANCUT", "mediancut_" + std::to_string(colors));
        EnterPillow("FASTOCTREE", "fastoctree_" + std::to_string(colors));
        EnterLiq(colors, false);
    }
    template <class Quantizer, class Ditherer>
    void EnterPair(const char* name) {
        painters.push_back(Ours(name, [this](IndexedPicture& result) {
            Quantizer quantizer;
            Ditherer ditherer;
            QuantizeAndDither(quantizer, ditherer, bgra, result);
        }));
    }
    void EnterQuantizersWithDither() {
        EnterPair<zpixf::ZPixfQuantizeMedian8, zpixf::ZPixfDitherDiffuse>("Median8, diffuse");
        EnterPair<zpixf::ZPixfQuantizeMedian5, zpixf::ZPixfDitherDiffuse>("Median5, diffuse");
        EnterPair<zpixf::ZPixfQuantizeMedian5, zpixf::ZPixfDitherOrdered>("Median5, ordered");
        EnterPillow("MEDIANCUT, diffuse", "mediancut_diffuse_256");
        EnterPillow("FASTOCTREE, diffuse", "fastoctree_diffuse_256");
        EnterLiq(256, true);
    }
    template <class Ditherer>
    void EnterDitherer(const char* name, const RGBQUAD* table) {
        painters.push_back(Ours(name, [this, table](IndexedPicture& result) {
            Ditherer ditherer;
            Dither(ditherer, bgra, table, result);
        }));
    }
    void EnterDitherToPalette() {
        const RGBQUAD* palette = BestPalette().table;
        EnterDitherer<zpixf::ZPixfDitherOrdered>("ordered", palette);
        EnterDitherer<zpixf::ZPixfDitherDiffuse>("diffuse", palette);
        EnterPillowWithPalette("diffuse", "palette_diffuse");
        EnterLiqMap(true);
    }
    void EnterDitherToFixed() {
        EnterDitherer<zpixf::ZPixfDitherOrdered>("ordered", nullptr);
        EnterDitherer<zpixf::ZPixfDitherDiffuse>("diffuse", nullptr);
        EnterPillow("diffuse, web palette", "web_diffuse");
    }
    void EnterMapToTable() {
        std::vector<shr::Color4b> table = BestTable();
        const auto matcher = std::make_shared<zbm::ColorTableMatcher>(table.data(), 256U);
        painters.push_back(Ours("ConvertPixelsToColorTable", [=, this](IndexedPicture& result) mutable {
            zbm::ConvertPixelsToColorTable({result.indices.data(), shr::INDEXED_8, int{kPictureSide}, table.data()},
                                           256, {bgra.data(), shr::BGRA_32, int{4 * kPictureSide}}, 0, kPictureSide,
                                           kPictureSide, *matcher);
            shr::CopyColor4bToRGBQUAD(result.table, table.data(), 256, false);
        }));
        CheckMapping(table, *matcher);
        EnterPillowWithPalette("quantize", "palette");
        EnterLiqMap(false);
    }
    void EnterPillowWithPalette(const std::string& name, const std::string& job) {
        if (!setting.pillow.TakesPart()) return;
        setting.pillow.SetSource(bgra, kPictureSide, BestTable().data());
        EnterPillow(name, job);
    }

    /// What ConvertPixelsToColorTable writes must be what the matcher answers pixel by pixel.
    void CheckMapping(const std::vector<shr::Color4b>& table, const zbm::ColorTableMatcher& matcher) {
        painters.back().contestant.run(1);
        const Pixels result = painters.back().bgra();
        for (std::size_t i = 0; i < bgra.size() && isExact; i += 4) {
            const shr::Color4b color =
                table[matcher.MatchExactOrApproximate(shr::Color4b(bgra[i + 2], bgra[i + 1], bgra[i]))];
            isExact = color.blue == result[i] && color.green == result[i + 1] && color.red == result[i + 2];
        }
        if (!isExact) std::printf("\nConvertPixelsToColorTable differs from the matcher\n");
    }

    /// The picture as Median8 has it, made when it is first wanted.
    const IndexedPicture& BestPalette() {
        if (!best) {
            best = std::make_unique<IndexedPicture>();
            zpixf::ZPixfQuantizeMedian8 quantizer;
            Quantize(quantizer, bgra, 256, *best);
        }
        return *best;
    }
    std::vector<shr::Color4b> BestTable() {
        std::vector<shr::Color4b> table(256);
        shr::CopyRGBQUADToColor4b(table.data(), BestPalette().table, 256, false);
        return table;
    }

    Setting& setting;
    const Pixels& bgra;
    Pixels rgba;
    std::vector<Painter> painters;
    std::unique_ptr<IndexedPicture> best;
    bool isExact = true;
};

}  // namespace

bool HoldQuantizeContest(Setting& setting) {
    QuantizeContest contest(setting);
    contest.Hold();
    return contest.IsExact();
}

}  // namespace contest
