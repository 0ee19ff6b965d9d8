// Filters beside OpenCV, libyuv, libvips and Pillow, each alone on pictures in memory: ours line by line, the others as
// they take whole pictures.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Contest.h"
#include "operations/Filters.h"
#include "Outcome.h"
#include "rivals/Rivals.h"

namespace contest {

namespace {

using namespace filters;

/// But for `border` pixels on each side.
Difference DifferenceWithin(const Pixels& a, const Pixels& b, int side, int border) {
    Difference difference;
    const int end = side - border;
    for (int y = border; y < end; ++y) {
        for (int x = border; x < end; ++x) {
            const std::size_t pixel = std::size_t{4} * (unsigned(y) * unsigned(side) + unsigned(x));
            for (std::size_t i = pixel; i < pixel + 3; ++i) {
                const int apart = std::abs(a[i] - b[i]);
                difference.max = std::max(difference.max, apart);
                difference.mean += apart;
            }
        }
    }
    difference.mean /= 3.0 * (end - border) * (end - border);
    return difference;
}

/// One who is ready to run on a canvas.
struct Entry {
    Contestant contestant;
    Job bringResult;  ///< to the canvas, if it is elsewhere
};

Entry PillowEntry(Pillow& pillow, const Entrant& who, const Canvas& canvas) {
    return {pillow.Enter(who.name, who.pillowJob), [&pillow, canvas, job = who.pillowJob] {
                const Pixels result = pillow.Result(job);
                if (result.size() != canvas.ResultBytes()) throw std::runtime_error("Pillow's result has another size");
                std::copy(result.begin(), result.end(), canvas.result);
            }};
}

Entry MakeEntry(Pillow& pillow, const Entrant& who, const Canvas& canvas) {
    if (!who.pillowJob.empty()) return PillowEntry(pillow, who, canvas);
    return {InThisProcess(who.name, who.enter(canvas)), [] {}};
}

/// The means of B, G and R.
std::vector<double> Means(const Pixels& bgra) {
    std::vector<double> sums(3);
    for (std::size_t i = 0; i < bgra.size(); i += 4)
        for (std::size_t c = 0; c < 3; ++c) sums[c] += bgra[i + c];
    for (double& sum : sums) sum /= static_cast<double>(bgra.size() / 4);
    return sums;
}

/// Of B, G and R the mean that has moved most.
double Drift(const Pixels& from, const Pixels& to) {
    const std::vector<double> before = Means(from), after = Means(to);
    double drift = 0;
    for (std::size_t c = 0; c < 3; ++c)
        if (std::abs(after[c] - before[c]) > std::abs(drift)) drift = after[c] - before[c];
    return drift;
}

/// What a pyramid of halvings does to the mean.
double DriftOfPyramid(Pillow& pillow, const Entrant& who, const Pixels& picture, int side) {
    Pixels level = picture;
    for (; side > kTopOfPyramid; side /= 2) {
        Pixels next(Canvas::Bytes(side / 2));
        if (!who.pillowJob.empty()) pillow.SetSource(level, static_cast<std::size_t>(side), nullptr);
        const Entry entry = MakeEntry(pillow, who, {level.data(), side, next.data(), side / 2});
        entry.contestant.run(1);
        entry.bringResult();
        level = std::move(next);
    }
    return Drift(picture, level);
}

class FilterContest {
public:
    FilterContest(Setting& common, const Operation& what, Size size)
        : setting(common),
          operation(what),
          source(CutSquare(common.picture, static_cast<std::size_t>(size.from))),
          result(Canvas::Bytes(size.to)),
          canvas{source.data(), size.from, result.data(), size.to},
          outcome{what.name, size, {}} {}

    Outcome Hold() {
        if (setting.pillow.TakesPart())
            setting.pillow.SetSource(source, static_cast<std::size_t>(canvas.from), nullptr);
        EnterOurs();
        for (const Entrant& who : operation.beside)
            if (MayTakePart(who)) EnterBeside(who);
        const std::vector<double> seconds = TakeTurns(contestants, Rounds());
        for (std::size_t i = 0; i < seconds.size(); ++i) outcome.scores[i].seconds = seconds[i];
        if (operation.isPyramid && canvas.from == int{kPictureSide}) BuildPyramids();
        return std::move(outcome);
    }

private:
    bool MayTakePart(const Entrant& who) const {
        return canvas.from <= who.largest && (who.pillowJob.empty() || setting.pillow.TakesPart());
    }

    void EnterOurs() {
        Score& score = Take({.name = "ours", .enter = RunOurs(operation.ours, Lines::ofPictures), .isOurs = true});
        ourResult = result;
        if (operation.reference) {
            operation.reference(canvas);
            score.difference = DifferenceWithin(ourResult, result, canvas.to, 0);
        }
        Take({.name = "ours, in cache", .enter = RunOurs(operation.ours, Lines::inCache), .isOurs = true});
    }
    void EnterBeside(const Entrant& who) {
        Score& score = Take(who);
        if (!who.isOurs) score.difference = DifferenceWithin(result, ourResult, canvas.to, kBorder);
    }
    /// Runs it once for its result.
    Score& Take(const Entrant& who) {
        std::fill(result.begin(), result.end(), std::uint8_t{0x5a});
        Entry entry = MakeEntry(setting.pillow, who, canvas);
        secondsOfRound += entry.contestant.run(1);
        entry.bringResult();
        contestants.push_back(std::move(entry.contestant));
        return outcome.scores.emplace_back(Score{who});
    }
    int Rounds() const {
        constexpr double kLongRound = 0.5;
        return secondsOfRound < kLongRound ? setting.rounds : std::max(1, setting.rounds / 5);
    }
    void BuildPyramids() {
        for (Score& score : outcome.scores)
            if (score.difference) score.drift = DriftOfPyramid(setting.pillow, score.who, source, canvas.from);
    }

    Setting& setting;
    const Operation& operation;
    Pixels source, result, ourResult;
    Canvas canvas;
    double secondsOfRound = 0;
    std::vector<Contestant> contestants;
    Outcome outcome;
};

}  // namespace

bool HoldFilterContest(Setting& setting) {
    const vips::Library library;
    std::vector<Outcome> outcomes;
    for (const Operation& operation : Operations()) {
        for (const Size size : operation.sizes) {
            if (!setting.Wants("filter " + operation.name + " " + std::to_string(size.from))) continue;
            if (outcomes.empty()) PrintHead();
            outcomes.push_back(FilterContest(setting, operation, size).Hold());
            PrintTable(outcomes.back());
            Record(setting.records, outcomes.back());
        }
    }
    if (!outcomes.empty()) PrintSummary(outcomes);
    return std::all_of(outcomes.begin(), outcomes.end(), [](const Outcome& outcome) { return outcome.IsRight(); });
}

}  // namespace contest
