#include "harness/Turns.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

#include "harness/Statistics.h"

namespace bench {

namespace {

constexpr double kShortJobSeconds = 0.1, kTurnSeconds = 1e-3, kLongRoundSeconds = 0.5;

class Turns {
public:
    explicit Turns(const Contestant& who) : contestant(who) {
        contestant.run(1);  // the first time pays for fresh memory
        once = contestant.run(1);
        times = std::clamp(static_cast<int>(kTurnSeconds / std::max(once, 1e-8)), 1, 100000);
    }
    void Take() {
        if (once < kShortJobSeconds) contestant.run(1);
        seconds.push_back(contestant.run(times) / times);
    }
    double Once() const { return once; }
    Times Result() const { return {Median(seconds), *std::min_element(seconds.begin(), seconds.end())}; }

private:
    const Contestant& contestant;
    double once = 0;
    int times = 1;
    std::vector<double> seconds;
};

}  // namespace

std::function<double(int)> Timed(Job job) {
    return [job = std::move(job)](int times) {
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < times; ++i) job();
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
}

std::vector<Times> TakeTurns(const std::vector<Contestant>& contestants, int rounds) {
    std::vector<Turns> turns(contestants.begin(), contestants.end());
    const std::size_t count = turns.size();
    double roundSeconds = 0;
    for (const Turns& turn : turns) roundSeconds += turn.Once();
    if (roundSeconds > kLongRoundSeconds) rounds = std::max(1, rounds / 5);
    for (int round = 0; round < rounds; ++round) {
        const auto first = static_cast<std::size_t>(round) % count;
        for (std::size_t i = 0; i < count; ++i) turns[(first + i) % count].Take();
    }
    std::vector<Times> results;
    for (const Turns& turn : turns) results.push_back(turn.Result());
    return results;
}

}  // namespace bench
