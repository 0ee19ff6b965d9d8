#include "Outcome.h"

#include <algorithm>
#include <cstdio>

namespace contest {

namespace {

std::string LabelOf(const Entrant& who) { return who.otherwise.empty() ? who.name : who.name + ", " + who.otherwise; }

const Figure* Find(const Score& score, const std::string& name) {
    for (const Figure& figure : score.verdict.figures)
        if (figure.name == name) return &figure;
    return nullptr;
}

/// The names of the figures that anyone has.
std::vector<std::string> ColumnsOf(const Outcome& outcome) {
    std::vector<std::string> columns;
    for (const Score& score : outcome.scores)
        for (const Figure& figure : score.verdict.figures)
            if (std::find(columns.begin(), columns.end(), figure.name) == columns.end()) columns.push_back(figure.name);
    return columns;
}

void PrintBeside(const Outcome& outcome, const Score& score, const Score& own) {
    const char mark = &score == outcome.FastestRival() ? '*' : ' ';
    std::printf("  | %7.2f x%c", score.seconds.median / own.seconds.median, mark);
    for (const Figure& figure : score.verdict.figures) {
        const Figure* ours = Find(own, figure.name);
        if (ours == nullptr || figure.beside == Beside::nothing) continue;
        if (figure.beside == Beside::difference)
            std::printf(" %+6.2f %s", figure.value - ours->value, figure.name);
        else
            std::printf(" %6.3f %s", figure.value / ours->value, figure.name);
    }
}

void PrintRow(const Outcome& outcome, const std::vector<std::string>& columns, const Score& score) {
    std::printf("%-44s %9.5f %9.1f", LabelOf(score.who).c_str(), score.seconds.median,
                outcome.MegapixelsASecond(score));
    for (const std::string& column : columns) {
        const Figure* figure = Find(score, column);
        if (figure == nullptr)
            std::printf(" %9s", "");
        else
            std::printf(" %9.*f", figure->value == static_cast<int>(figure->value) ? 0 : 3, figure->value);
    }
    for (const Score& own : outcome.scores)
        if (own.who.role == Role::ours) PrintBeside(outcome, score, own);
    std::printf("%s\n", score.verdict.isRight ? "" : "  WRONG");
}

}  // namespace

const Score* Outcome::FastestRival() const {
    const Score* fastest = nullptr;
    for (const Score& score : scores)
        if (score.who.IsRival() && (fastest == nullptr || score.seconds.median < fastest->seconds.median))
            fastest = &score;
    return fastest;
}

double Outcome::MegapixelsASecond(const Score& score) const {
    const double side = std::max(from, to);
    return side * side / 1e6 / score.seconds.median;
}

bool Outcome::IsRight() const {
    return std::all_of(scores.begin(), scores.end(), [](const Score& score) { return score.verdict.isRight; });
}

void PrintTable(const Outcome& outcome) {
    const std::vector<std::string> columns = ColumnsOf(outcome);
    const std::string to = outcome.to == outcome.from ? "" : " to " + std::to_string(outcome.to);
    std::printf("\n%-44s %9s %9s", (outcome.title + to).c_str(), "seconds", "MP/s");
    for (const std::string& column : columns) std::printf(" %9s", column.c_str());
    for (const Score& own : outcome.scores)
        if (own.who.role == Role::ours) std::printf("  | time / %s", own.who.name.c_str());
    std::printf("\n");
    for (const Score& score : outcome.scores) PrintRow(outcome, columns, score);
    std::fflush(stdout);
}

void PrintSummary(const std::vector<Outcome>& outcomes) {
    std::printf("\n%-44s %9s  %s\n", "", "MP/s", "ours / fastest rival; ours / what stands beside");
    for (const Outcome& outcome : outcomes) {
        const Score& ours = outcome.Ours();
        std::printf("%-44s %9.1f", outcome.title.c_str(), outcome.MegapixelsASecond(ours));
        const auto print = [&](const Score& score) {
            std::printf("  %6.2f %s", score.seconds.median / ours.seconds.median, score.who.name.c_str());
        };
        if (const Score* rival = outcome.FastestRival()) print(*rival);
        for (const Score& score : outcome.scores)
            if (score.who.role == Role::beside) print(score);
        std::printf("%s\n", outcome.IsRight() ? "" : "  WRONG");
    }
}

void Record(bench::Records& records, const Outcome& outcome) {
    for (const Score& score : outcome.scores) {
        std::vector<bench::Field> fields = {{"op", outcome.name},
                                            {"size", double(outcome.from)},
                                            {"to", double(outcome.to)},
                                            {"who", score.who.name},
                                            {"mps", outcome.MegapixelsASecond(score)},
                                            {"seconds", score.seconds.median},
                                            {"best_seconds", score.seconds.best},
                                            {"ours_to_it", score.seconds.median / outcome.Ours().seconds.median},
                                            {"otherwise", score.who.otherwise}};
        for (const Figure& figure : score.verdict.figures) fields.emplace_back(figure.name, figure.value);
        records.Add(fields);
    }
}

}  // namespace contest
