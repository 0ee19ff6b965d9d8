#include "Outcome.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace contest::filters {

namespace {

std::string TitleOf(const Outcome& outcome) {
    return outcome.name + ", " + std::to_string(outcome.size.from) + " to " + std::to_string(outcome.size.to);
}

std::string LabelOf(const Entrant& who) { return who.otherwise.empty() ? who.name : who.name + ", " + who.otherwise; }

void PrintDifference(const Difference& difference, bool isOurs) {
    if (isOurs && difference.max == 0)
        std::printf(" %6s %7s", "=", "=");
    else
        std::printf(" %6d %7.3f", difference.max, difference.mean);
}

void PrintRow(const Outcome& outcome, const Score& score) {
    std::printf("%-38s %9.1f %9.2f", LabelOf(score.who).c_str(), outcome.MegapixelsASecond(score),
                outcome.OursOver(score));
    if (score.difference) {
        std::printf("%c", &score == outcome.FastestRival() ? '*' : ' ');
        PrintDifference(*score.difference, score.who.isOurs);
    }
    if (score.drift) std::printf(" %+7.2f", *score.drift);
    std::printf("\n");
}

}  // namespace

const Score* Outcome::FastestRival() const {
    const Score* fastest = nullptr;
    for (const Score& score : scores)
        if (score.IsRival() && (fastest == nullptr || score.seconds < fastest->seconds)) fastest = &score;
    return fastest;
}

double Outcome::MegapixelsASecond(const Score& score) const {
    const double side = std::max(size.from, size.to);
    return side * side / 1e6 / score.seconds;
}

bool Outcome::IsRight() const {
    constexpr double kLargestDrift = 0.5;
    const bool isExact = !Ours().difference || Ours().difference->max == 0;
    return isExact && (!Ours().drift || std::abs(*Ours().drift) <= kLargestDrift);
}

void PrintHead() {
    std::printf(
        "\nFilters, MP/s of the larger of source and result; * the fastest that does the same. Differences are levels\n"
        "of B, G and R from ours, %d pixels from the border on; those of ours from plain loops, everywhere (= none).\n"
        "Drift is what a pyramid of halvings to %d x %d does to the mean.\n",
        kBorder, kTopOfPyramid, kTopOfPyramid);
}

void PrintTable(const Outcome& outcome) {
    std::printf("\n%-38s %9s %9s  %6s %7s%s\n", TitleOf(outcome).c_str(), "MP/s", "ours / it", "max", "mean",
                outcome.Ours().drift ? "   drift" : "");
    for (const Score& score : outcome.scores) PrintRow(outcome, score);
    std::fflush(stdout);
}

void PrintSummary(const std::vector<Outcome>& outcomes) {
    std::printf("\n%-38s %9s %9s  %s\n", "Filters", "ours", "in cache", "ours / fastest rival");
    for (const Outcome& outcome : outcomes) {
        std::printf("%-38s %9.1f %9.1f", TitleOf(outcome).c_str(), outcome.MegapixelsASecond(outcome.Ours()),
                    outcome.MegapixelsASecond(outcome.OursInCache()));
        if (const Score* rival = outcome.FastestRival())
            std::printf("  %6.2f %s", outcome.OursOver(*rival), rival->who.name.c_str());
        std::printf("%s\n", outcome.IsRight() ? "" : "  OURS IS WRONG");
    }
}

void Record(Records& records, const Outcome& outcome) {
    for (const Score& score : outcome.scores) {
        std::vector<Field> fields = {{"op", outcome.name},
                                     {"size", double(outcome.size.from)},
                                     {"to", double(outcome.size.to)},
                                     {"who", score.who.name},
                                     {"mps", outcome.MegapixelsASecond(score)},
                                     {"seconds", score.seconds},
                                     {"ours_to_it", outcome.OursOver(score)},
                                     {"does_the_same", score.who.otherwise.empty()}};
        if (score.difference) {
            fields.push_back({"max_difference", double(score.difference->max)});
            fields.push_back({"mean_difference", score.difference->mean});
        }
        if (score.drift) fields.push_back({"drift", *score.drift});
        records.Add(fields);
    }
}

}  // namespace contest::filters
