#pragma once
// What comes of a contest of one filter: figures, and how they are printed and recorded.
#include <optional>
#include <string>
#include <vector>

#include "Records.h"
#include "operations/Filters.h"

namespace contest::filters {

/// Libraries differ in what they think lies beyond a border: so many pixels there are left out where they are compared.
inline constexpr int kBorder = 8;
/// Side of the last level of a pyramid.
inline constexpr int kTopOfPyramid = 16;

/// How far two results are from each other in B, G and R.
struct Difference {
    int max = 0;
    double mean = 0;
};

/// How one did.
struct Score {
    Entrant who;
    double seconds = 0;
    std::optional<Difference> difference{};  ///< from our result; that of ours from the reference
    std::optional<double> drift{};           ///< of the mean in a pyramid

    bool IsRival() const { return !who.isOurs && who.otherwise.empty(); }
};

/// The first score is that of our filter on pictures, the second that in the cache.
struct Outcome {
    std::string name;
    Size size;
    std::vector<Score> scores;

    const Score& Ours() const { return scores[0]; }
    const Score& OursInCache() const { return scores[1]; }
    /// Null if there is no rival.
    const Score* FastestRival() const;
    double OursOver(const Score& score) const { return score.seconds / Ours().seconds; }
    /// Of the larger picture.
    double MegapixelsASecond(const Score& score) const;
    /// Whether ours gives what the reference gives, and drifts by no more than half a level.
    bool IsRight() const;
};

void PrintHead();
void PrintTable(const Outcome& outcome);
/// A line each: ours beside the fastest.
void PrintSummary(const std::vector<Outcome>& outcomes);
void Record(Records& records, const Outcome& outcome);

}  // namespace contest::filters
