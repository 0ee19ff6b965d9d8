// The search for mixtures; the including file defines the table of its level. Nothing here calls the standard library
// or is inline with external linkage, so no copy compiled for a wide level can stand in for another. Every level does
// the same operations in the same order, and none is contracted, so that the doubles agree to the last bit.
//
// With q the entries less the colour, and w their shares, the search minimises
//
//     |sum of w q|^2 + spread * (sum of w cost) + kRegular * (sum of w^2)
//
// over all w that are not negative and add up to 1. The first term is the miss of the mean. The second keeps the
// mixture together: an entry costs its squared distance, more the nearer it is to twice the distance of the
// fourth-nearest, and no entry beyond that has a share. All of it changes continuously with the colour, and so do the
// shares. The third, very small, makes every subproblem solvable. This is an active-set search (as P. Wolfe's, Finding
// the Nearest Point in a Polytope, 1976): it holds the few entries with a share, finds their best shares, drops an
// entry whose share would be negative, and takes in the entry that lowers the sum most, until none does.
#include "dither/DitherMixKernels.h"

namespace zpixf {
namespace {

using std::size_t;

constexpr double kRegular = 1e-8;
constexpr double kTolerance = 1e-7;
constexpr unsigned kMostRounds = 64;  // some 5 are usual; what is there then is a mixture like any other

struct Vector {
    double blue, green, red;
};
double Dot(const Vector& a, const Vector& b) { return a.blue * b.blue + a.green * b.green + a.red * b.red; }

Vector Difference(const Vector& a, const Vector& b) { return {a.blue - b.blue, a.green - b.green, a.red - b.red}; }

Vector Offset(const MixPalette& palette, unsigned entry, const Vector& color) {
    return Difference({palette.blue[entry], palette.green[entry], palette.red[entry]}, color);
}

// Gives the squared distance of each entry.
Surroundings LookAround(const MixPalette& palette, AmongEntries among, const Vector& color, double* distances) {
    for (unsigned i = 0; i < among.count; ++i) {
        const Vector q = Offset(palette, among.numbers[i], color);
        distances[i] = Dot(q, q);
    }
    constexpr unsigned kNearest = 4;
    double nearest[kNearest];
    unsigned held = 0, first = 0;
    for (unsigned i = 0; i < among.count; ++i) {
        const double distance = distances[i];
        if (held == kNearest && distance >= nearest[kNearest - 1]) continue;
        unsigned place = held < kNearest ? held++ : kNearest - 1;
        for (; place > 0 && distance < nearest[place - 1]; --place) nearest[place] = nearest[place - 1];
        nearest[place] = distance;
        if (place == 0) first = among.numbers[i];
    }
    return {first, nearest[held - 1]};
}

// The entries that may have a share, as seen from the colour.
struct Candidates {
    unsigned count;
    double blue[MixPalette::kMost], green[MixPalette::kMost], red[MixPalette::kMost];
    double costs[MixPalette::kMost];
    unsigned entries[MixPalette::kMost];
};

Vector At(const Candidates& candidates, unsigned i) {
    return {candidates.blue[i], candidates.green[i], candidates.red[i]};
}

// The part of the squared distance along the greys counts less. So of mixtures that are equally good, as the corners of
// a cube offer them, that along the greys is taken. Its entries have the same order in every channel, which keeps each
// channel's mean best in small areas.
double Cost(const MixPalette& palette, const Vector& q, double distance, double closeness) {
    const double along = q.blue + q.green + q.red;
    return palette.spread * ((distance - palette.alongGreys * (along * along)) * closeness);
}

void Choose(const MixPalette& palette, AmongEntries among, const Vector& color, Candidates& chosen) {
    double distances[MixPalette::kMost];
    const double limit = palette.reach * palette.reach * LookAround(palette, among, color, distances).fourth;
    chosen.count = 0;
    for (unsigned i = 0; i < among.count; ++i) {
        if (distances[i] >= limit && palette.reach > 0) continue;
        const double way = palette.reach > 0 ? distances[i] / limit : 0;
        const Vector q = Offset(palette, among.numbers[i], color);
        chosen.blue[chosen.count] = q.blue;
        chosen.green[chosen.count] = q.green;
        chosen.red[chosen.count] = q.red;
        chosen.costs[chosen.count] = Cost(palette, q, distances[i], 1 / (1 - way * way));
        chosen.entries[chosen.count] = among.numbers[i];
        ++chosen.count;
    }
}

// The sum's slopes along each candidate's share, all less the same. Gives the candidate with the least, of several the
// first.
unsigned Steepest(const Candidates& candidates, const Vector& mean, double* slopes) {
    const double blue = 2 * mean.blue, green = 2 * mean.green, red = 2 * mean.red;
    for (unsigned i = 0; i < candidates.count; ++i)
        slopes[i] =
            candidates.blue[i] * blue + candidates.green[i] * green + candidates.red[i] * red + candidates.costs[i];
    unsigned least = 0;
    for (unsigned i = 1; i < candidates.count; ++i) least = slopes[i] < slopes[least] ? i : least;
    return least;
}

// The shares, maybe negative, of the entries held at which the sum is least and the shares' own sum 1: Gauss
// elimination of the conditions that all slopes are equal, the first entry's share being what the others leave. The
// matrix is positive definite and needs no pivots.
template <unsigned kOthers>
void BestShares(const Candidates& candidates, const Shares& held, double* best) {
    double rows[kOthers][kOthers + 1];
    Vector edges[kOthers];
    const Vector origin = At(candidates, held.entries[0]);
    for (unsigned i = 0; i < kOthers; ++i) edges[i] = Difference(At(candidates, held.entries[i + 1]), origin);
    for (unsigned i = 0; i < kOthers; ++i) {
        for (unsigned j = 0; j < kOthers; ++j) rows[i][j] = 2 * Dot(edges[i], edges[j]) + 2 * kRegular;
        rows[i][i] += 2 * kRegular;
        rows[i][kOthers] = 2 * kRegular - 2 * Dot(edges[i], origin) -
                           (candidates.costs[held.entries[i + 1]] - candidates.costs[held.entries[0]]);
    }
    for (unsigned column = 0; column < kOthers; ++column)
        for (unsigned i = column + 1; i < kOthers; ++i) {
            const double factor = rows[i][column] / rows[column][column];
            for (unsigned j = column; j <= kOthers; ++j) rows[i][j] -= factor * rows[column][j];
        }
    best[0] = 1;
    for (unsigned i = kOthers; i-- > 0;) {
        double value = rows[i][kOthers];
        for (unsigned j = i + 1; j < kOthers; ++j) value -= rows[i][j] * best[j + 1];
        best[i + 1] = value / rows[i][i];
        best[0] -= best[i + 1];
    }
}

void BestShares(const Candidates& candidates, const Shares& held, double* best) {
    static_assert(Shares::kMost == 6);
    switch (held.count) {
        case 2: return BestShares<1>(candidates, held, best);
        case 3: return BestShares<2>(candidates, held, best);
        case 4: return BestShares<3>(candidates, held, best);
        case 5: return BestShares<4>(candidates, held, best);
        default: return BestShares<5>(candidates, held, best);
    }
}

void Drop(Shares& held, unsigned place) {
    --held.count;
    for (unsigned i = place; i < held.count; ++i) {
        held.entries[i] = held.entries[i + 1];
        held.shares[i] = held.shares[i + 1];
    }
}

// Goes from the shares held towards the best; where an entry's share comes to nothing first, drops it and starts over.
void Settle(const Candidates& candidates, Shares& held) {
    while (held.count > 1) {
        double best[Shares::kMost];
        BestShares(candidates, held, best);
        double way = 1;
        unsigned dropped = held.count;
        for (unsigned i = 0; i < held.count; ++i) {
            if (best[i] > 0) continue;
            const double reach = held.shares[i] / (held.shares[i] - best[i]);
            if (reach >= way && dropped != held.count) continue;
            way = reach < way ? reach : way;
            dropped = i;
        }
        for (unsigned i = 0; i < held.count; ++i) held.shares[i] += way * (best[i] - held.shares[i]);
        if (dropped == held.count) return;
        Drop(held, dropped);
    }
    held.shares[0] = 1;
}

void Search(const Candidates& candidates, Shares& held) {
    double slopes[MixPalette::kMost];
    held.count = 1;
    held.entries[0] = Steepest(candidates, {0, 0, 0}, slopes);  // as only the second term counts
    held.shares[0] = 1;
    for (unsigned round = 0; round < kMostRounds; ++round) {
        Vector mean = {0, 0, 0};
        for (unsigned i = 0; i < held.count; ++i) {
            const Vector q = At(candidates, held.entries[i]);
            mean.blue += held.shares[i] * q.blue;
            mean.green += held.shares[i] * q.green;
            mean.red += held.shares[i] * q.red;
        }
        const unsigned entry = Steepest(candidates, mean, slopes);
        double slope = 0;
        for (unsigned i = 0; i < held.count; ++i) {
            if (held.entries[i] == entry) return;
            slope += held.shares[i] * slopes[held.entries[i]];
        }
        if (slopes[entry] >= slope - kTolerance || held.count == Shares::kMost) return;
        held.entries[held.count] = entry;
        held.shares[held.count] = 0;
        ++held.count;
        Settle(candidates, held);
    }
}

// More than four entries are left only where roundings brought it about; the smallest shares then are no loss.
void KeepFour(Shares& held) {
    constexpr unsigned kKept = 4;
    while (held.count > kKept) {
        unsigned smallest = 0;
        for (unsigned i = 1; i < held.count; ++i)
            if (held.shares[i] < held.shares[smallest]) smallest = i;
        const double all = 1 - held.shares[smallest];
        Drop(held, smallest);
        for (unsigned i = 0; i < held.count; ++i) held.shares[i] /= all;
    }
}

void Mix(const MixPalette& palette, AmongEntries among, double blue, double green, double red, Shares& shares) {
    Candidates candidates;
    Choose(palette, among, {blue, green, red}, candidates);
    Search(candidates, shares);
    KeepFour(shares);
    for (unsigned i = 0; i < shares.count; ++i) shares.entries[i] = candidates.entries[shares.entries[i]];
}

Surroundings LookAround(const MixPalette& palette, AmongEntries among, double blue, double green, double red) {
    double distances[MixPalette::kMost];
    return LookAround(palette, among, {blue, green, red}, distances);
}

constexpr DitherMixKernels kKernels = {&LookAround, &Mix};

}  // namespace
}  // namespace zpixf
