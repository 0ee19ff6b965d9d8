#include "Contest.h"

#include <algorithm>

#include "Outcome.h"

namespace contest {

namespace {

std::vector<Rival>& Registry() {
    static std::vector<Rival> rivals;
    return rivals;
}

std::vector<Entrant> EntrantsOf(const Operation& operation, const Rows& rivals) {
    std::vector<Entrant> entrants = operation.ours;
    for (const Row& row : rivals)
        if (row.operation == operation.name && operation.from <= row.entrant.largest) entrants.push_back(row.entrant);
    return entrants;
}

/// Runs it once for its result.
Verdict Try(const Entry& entry, const Entrant& who, const Scene& scene, const Judge& judge) {
    std::fill(scene.result.pixels.begin(), scene.result.pixels.end(), std::uint8_t{0x5a});
    entry.run(1);
    entry.bring();
    return who.role == Role::beside ? Verdict{} : judge(who, scene);
}

}  // namespace

bool Add(const Rival& rival) {
    Registry().push_back(rival);
    return true;
}

const std::vector<Rival>& Rivals() { return Registry(); }

Outcome Hold(const Operation& operation, const Rows& rivals, const Square& picture, int rounds) {
    const Square cut = CutSquare(picture, operation.from);
    const Square source = operation.makeSource == nullptr ? cut : operation.makeSource(cut);
    Square result(operation.format, operation.to);
    std::size_t storedBytes = 0;
    const Scene scene{source, result, storedBytes};
    const Judge judge = operation.judge(scene);
    Outcome outcome{operation.Title(), operation.name, operation.from, operation.to};
    std::vector<bench::Contestant> contestants;
    for (const Entrant& who : EntrantsOf(operation, rivals)) {
        const Entry entry = who.enter(scene);
        outcome.scores.push_back({who, Try(entry, who, scene, judge)});
        contestants.push_back({who.name, entry.run});
    }
    const auto seconds = TakeTurns(contestants, rounds);
    for (std::size_t i = 0; i < seconds.size(); ++i) outcome.scores[i].seconds = seconds[i];
    return outcome;
}

}  // namespace contest
