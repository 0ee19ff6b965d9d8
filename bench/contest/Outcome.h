#pragma once
// What comes of an operation: figures, and how they are printed and recorded.
#include "Contest.h"
#include "harness/Records.h"

namespace contest {

/// How one did.
struct Score {
    Entrant who;
    Verdict verdict{};
    bench::Times seconds{};
};

struct Outcome {
    std::string title, name;
    int from, to;
    std::vector<Score> scores{};  ///< ours first

    const Score& Ours() const { return scores.front(); }
    /// Null if there is none.
    const Score* FastestRival() const;
    /// Of the larger of source and result.
    double MegapixelsASecond(const Score& score) const;
    bool IsRight() const;
};

/// The rivals take part where their operation has this one's name. `rounds` as for TakeTurns.
Outcome Hold(const Operation& operation, const Rows& rivals, const Square& picture, int rounds);

/// A line for each who takes part, compared with each of ours.
void PrintTable(const Outcome& outcome);
/// A line for each operation: ours beside the fastest.
void PrintSummary(const std::vector<Outcome>& outcomes);
void Record(bench::Records& records, const Outcome& outcome);

}  // namespace contest
