#include "Turns.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <utility>

namespace contest {

namespace {

constexpr double kShortJobSeconds = 0.1;
constexpr double kTurnSeconds = 1e-3;

double Median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

class Turns {
public:
    explicit Turns(const Contestant& who) : contestant(who) {
        contestant.run(1);  // the first time pays for fresh memory
        const double once = contestant.run(1);
        warmsUp = once < kShortJobSeconds;
        times = std::clamp(static_cast<int>(kTurnSeconds / std::max(once, 1e-8)), 1, 100000);
    }
    void Take() {
        if (warmsUp) contestant.run(1);
        seconds.push_back(contestant.run(times) / times);
    }
    double MedianSeconds() const { return Median(seconds); }

private:
    const Contestant& contestant;
    bool warmsUp;
    int times;
    std::vector<double> seconds;
};

}  // namespace

Contestant InThisProcess(std::string name, std::function<void()> job) {
    return {std::move(name), [job = std::move(job)](int times) {
                const auto start = std::chrono::steady_clock::now();
                for (int i = 0; i < times; ++i) job();
                return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            }};
}

std::vector<double> TakeTurns(const std::vector<Contestant>& contestants, int rounds) {
    std::vector<Turns> turns(contestants.begin(), contestants.end());
    const std::size_t count = turns.size();
    for (int round = 0; round < rounds; ++round) {
        const auto first = static_cast<std::size_t>(round) % count;
        for (std::size_t i = 0; i < count; ++i) turns[(first + i) % count].Take();
    }
    std::vector<double> medians;
    for (const Turns& turn : turns) medians.push_back(turn.MedianSeconds());
    return medians;
}

}  // namespace contest
