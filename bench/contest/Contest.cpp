// Format conversions beside libyuv, OpenCV, babl and Pillow, and memcpy of the output's bytes: a whole picture, which
// no cache holds, and a tile, which one does.
#include <babl/babl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "Contest.h"
#include "operations/Convert.h"

namespace contest {

namespace {

/// How far a result is from what it should be.
struct Verdict {
    bool isExact;       ///< the same as by our rules
    int maxDifference;  ///< from our rules or the rounded result, whichever is nearer

    std::string Mark() const {
        if (isExact) return "=";
        if (maxDifference == 0) return "r";
        std::string mark = "~";
        return mark += std::to_string(maxDifference);
    }
};

/// Of packed pixels, 1 if any bit differs.
int MaxDifference(const Pixels& a, const Pixels& b, shr::ColorFormat format) {
    if (shr::ColorFmtToBPP[format] < 8) return a == b ? 0 : 1;
    if (a.size() != b.size()) return 255;
    int difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i) difference = std::max(difference, std::abs(a[i] - b[i]));
    return difference;
}

Pixels Apply(Rule rule, const Scene& scene) {
    Pixels result(scene.ResultBytes());
    rule(scene.SourcePixels(), result.data(), scene.PixelCount(), scene.SourceTable());
    return result;
}

class Judge {
public:
    Judge(const Operation& operation, const Scene& scene)
        : format(scene.to),
          byRule(Apply(operation.rule, scene)),
          nearest(operation.nearest == nullptr ? Pixels() : Apply(operation.nearest, scene)) {}

    Verdict operator()(const Pixels& result) const {
        const int difference = MaxDifference(result, byRule, format);
        if (difference == 0 || nearest.empty()) return {difference == 0, difference};
        return {false, std::min(difference, MaxDifference(result, nearest, format))};
    }

private:
    shr::ColorFormat format;
    Pixels byRule, nearest;
};

/// The columns of the table; ours comes first and memcpy last.
enum Column { ours, libyuvColumn, openCvColumn, bablColumn, pillowColumn, copy, columnCount };
constexpr const char* kColumnNames[columnCount] = {"ours", "libyuv", "OpenCV", "babl", "Pillow", "memcpy"};

struct Figure {
    double seconds = 0;  ///< 0 for who takes no part
    Verdict verdict{};
};

struct Outcome {
    Figure figures[columnCount];

    bool Has(Column column) const { return figures[column].seconds != 0; }
    double OursOver(Column column) const { return figures[column].seconds / figures[ours].seconds; }
    Column FastestRival() const {
        Column fastest = ours;
        for (const Column rival : {libyuvColumn, openCvColumn, bablColumn, pillowColumn})
            if (Has(rival) && (fastest == ours || figures[rival].seconds < figures[fastest].seconds)) fastest = rival;
        return fastest;
    }
};

class ConvertContest {
public:
    ConvertContest(Setting& common, const Operation& what, const Source& source, int side)
        : setting(common),
          operation(what),
          result(source.pixels.size() * static_cast<unsigned>(shr::ColorFmtToBPP[what.to]) /
                 static_cast<unsigned>(shr::ColorFmtToBPP[what.from])),
          scene{what.from, what.to, side, &source, result.data()},
          judge(what, scene) {}

    Outcome Hold() {
        EnterJob(ours, Ours);
        EnterJob(libyuvColumn, operation.libyuv);
        EnterJob(openCvColumn, operation.openCv);
        EnterJob(bablColumn, operation.babl);
        if (setting.pillow.TakesPart()) EnterPillow();
        EnterJob(copy, CopyOfAsManyBytes);
        const std::vector<double> seconds = TakeTurns(contestants, setting.rounds);
        for (std::size_t i = 0; i < seconds.size(); ++i) outcome.figures[columns[i]].seconds = seconds[i];
        return outcome;
    }

private:
    void EnterJob(Column column, const Enter& enter) {
        if (!enter) return;
        Job job = enter(scene);
        std::fill(result.begin(), result.end(), std::uint8_t{0x5a});
        job();
        if (column != copy) outcome.figures[column].verdict = judge(result);
        Take(column, InThisProcess(kColumnNames[column], std::move(job)));
    }
    void EnterPillow() {
        setting.pillow.SetSource(scene.source->pixels, static_cast<std::size_t>(scene.side), scene.SourceTable());
        Contestant pillow = setting.pillow.Enter(kColumnNames[pillowColumn], operation.pillow);
        pillow.run(1);
        outcome.figures[pillowColumn].verdict = judge(setting.pillow.Result(operation.pillow));
        Take(pillowColumn, std::move(pillow));
    }
    void Take(Column column, Contestant contestant) {
        columns.push_back(column);
        contestants.push_back(std::move(contestant));
    }

    Setting& setting;
    const Operation& operation;
    Pixels result;
    Scene scene;
    Judge judge;
    std::vector<Column> columns;
    std::vector<Contestant> contestants;
    Outcome outcome;
};

void PrintHead() {
    std::printf(
        "\nConversion, MP/s. = exact by our rules, r exact but rounded to the nearest, ~n up to n from the nearer of "
        "both.\n%-18s %5s",
        "", "side");
    for (const char* name : kColumnNames) std::printf(" %11s", name);
    std::printf("  %-14s %s\n", "ours / best", "ours / memcpy");
}

double MegapixelsASecond(double seconds, int side) { return double(side) * double(side) / 1e6 / seconds; }

void PrintCell(const Figure& figure, int side, bool isJudged) {
    if (figure.seconds == 0)
        std::printf(" %11s", "");
    else
        std::printf(" %7.0f %-3s", MegapixelsASecond(figure.seconds, side),
                    isJudged ? figure.verdict.Mark().c_str() : "");
}

void PrintRow(const char* name, int side, const Outcome& outcome) {
    std::printf("%-18s %5d", name, side);
    for (int column = 0; column < columnCount; ++column) PrintCell(outcome.figures[column], side, column != copy);
    const Column best = outcome.FastestRival();
    if (best == ours)
        std::printf("  %-14s", "");
    else
        std::printf("  %5.2f %-8s", outcome.OursOver(best), kColumnNames[best]);
    std::printf(" %5.2f\n", outcome.OursOver(copy));
    std::fflush(stdout);
}

void Record(Records& records, const char* name, int side, const Outcome& outcome) {
    for (int i = 0; i < columnCount; ++i) {
        const auto column = static_cast<Column>(i);
        if (!outcome.Has(column)) continue;
        const Figure& figure = outcome.figures[column];
        std::vector<Field> fields = {{"op", name},
                                     {"size", double(side)},
                                     {"who", kColumnNames[column]},
                                     {"mps", MegapixelsASecond(figure.seconds, side)},
                                     {"seconds", figure.seconds},
                                     {"ours_to_it", outcome.OursOver(column)},
                                     {"ratio_to_memcpy", outcome.figures[copy].seconds / figure.seconds}};
        if (column != copy) {
            fields.push_back({"exact", figure.verdict.isExact});
            fields.push_back({"max_difference", double(figure.verdict.maxDifference)});
        }
        records.Add(fields);
    }
}

std::string NameOf(const Operation& operation, std::size_t side) {
    std::string name = operation.name;
    name += ' ';
    return name += std::to_string(side);
}

}  // namespace

bool HoldConvertContest(Setting& setting) {
    babl_init();
    bool isExact = true, hasHead = false;
    for (const std::size_t side : {kPictureSide, kTileSide}) {
        const Pixels square = CutSquare(setting.picture, side);
        for (const Operation& operation : Operations()) {
            if (!setting.Wants(NameOf(operation, side))) continue;
            if (!std::exchange(hasHead, true)) PrintHead();
            const Source source = operation.makeSource(square);
            const Outcome outcome = ConvertContest(setting, operation, source, static_cast<int>(side)).Hold();
            PrintRow(operation.name, static_cast<int>(side), outcome);
            Record(setting.records, operation.name, static_cast<int>(side), outcome);
            isExact = isExact && outcome.figures[ours].verdict.isExact;
        }
    }
    babl_exit();
    return isExact;
}

}  // namespace contest
