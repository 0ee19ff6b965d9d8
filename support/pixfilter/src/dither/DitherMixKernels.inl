// The search for mixtures; the including file defines the table of its level. Nothing here calls the standard library
// or is inline with external linkage, so no copy compiled for a wide level can stand in for another. Every level does
// the same operations in the same order, and none is contracted, so that the floats agree to the last bit. What is done
// for all entries is in floats and whole numbers, plain loops of which the compilers make vectors; what few hold, in
// doubles.
//
// With q the entries less the colour, and w their shares, the search minimises
//
//     |sum of w q|^2 + spread * (sum of w cost) + kRegular * (sum of w^2)
//
// over all w that are not negative and add up to 1. The first term is the miss of the mean. The second keeps the
// mixture together: an entry costs its squared distance, more the nearer it is to the reach, and no entry beyond that
// has a share. All of it changes continuously with the colour, and so do the shares. The third, very small, makes every
// subproblem solvable. This is an active-set search (as P. Wolfe's, Finding the Nearest Point in a Polytope, 1976): it
// holds the few entries with a share, finds their best shares, drops an entry whose share would be negative, and takes
// in the entry that lowers the sum most, until none does.
#include "dither/DitherMixKernels.h"

namespace zpixf {
namespace {

using std::int32_t;
using std::size_t;
using std::uint32_t;
using std::uint8_t;

constexpr double kRegular = 1e-8;
constexpr double kTolerance = 1e-7;
constexpr unsigned kMostRounds = 64;  // some 5 are usual; what is there then is a mixture like any other
constexpr unsigned kLanes = MixEntries::kLanes;
constexpr float kNever = 1e30f;  // the cost of an entry that may have no share

struct Vector {
    double blue, green, red;
};
double Dot(const Vector& a, const Vector& b) { return a.blue * b.blue + a.green * b.green + a.red * b.red; }

Vector Difference(const Vector& a, const Vector& b) { return {a.blue - b.blue, a.green - b.green, a.red - b.red}; }

size_t InLanes(unsigned count) { return (count + kLanes - 1) / kLanes * kLanes; }

// The entries as seen from a colour. Up to a multiple of kLanes there are more, which are never chosen.
struct Candidates {
    unsigned count;
    float blue[MixEntries::kMost], green[MixEntries::kMost], red[MixEntries::kMost];
    float costs[MixEntries::kMost];
    int32_t keys[MixEntries::kMost];  // squared distances, with the number in the low byte
};

Vector At(const Candidates& candidates, unsigned i) {
    return {candidates.blue[i], candidates.green[i], candidates.red[i]};
}

void Look(const MixEntries& entries, uint32_t color, Candidates& seen) {
    const auto blue = static_cast<float>(color & 255), green = static_cast<float>(color >> 8 & 255),
               red = static_cast<float>(color >> 16 & 255);
    const size_t count = InLanes(entries.count);
    for (size_t i = 0; i < count; ++i) {
        const float b = entries.blue[i] - blue, g = entries.green[i] - green, r = entries.red[i] - red;
        seen.blue[i] = b;
        seen.green[i] = g;
        seen.red[i] = r;
        seen.keys[i] = static_cast<int32_t>(b * b + g * g + r * r) << 8 | static_cast<int32_t>(i);
    }
    seen.count = entries.count;
    for (size_t i = entries.count; i < count; ++i) seen.keys[i] = INT32_MAX;
}

int32_t Least(const int32_t* values, size_t count) {
    int32_t least = INT32_MAX;
    for (size_t i = 0; i < count; ++i) least = values[i] < least ? values[i] : least;
    return least;
}

// The key of the fourth-nearest; without a fourth, of the farthest. Takes the nearest ones off, one by one.
int32_t FourthLeast(const int32_t* keys, unsigned count) {
    constexpr unsigned kFourth = 4;
    const size_t inLanes = InLanes(count);
    int32_t others[MixEntries::kMost];
    int32_t least = Least(keys, inLanes);
    for (unsigned place = 1; place < kFourth && place < count; ++place) {
        for (size_t i = 0; i < inLanes; ++i) others[i] = keys[i] == least ? INT32_MAX : keys[i];
        least = Least(others, inLanes);
        keys = others;
    }
    return least;
}

Surroundings AsSeen(const Candidates& seen) {
    return {static_cast<unsigned>(Least(seen.keys, InLanes(seen.count)) & 255),
            static_cast<uint32_t>(FourthLeast(seen.keys, seen.count) >> 8)};
}

// How far a channel lies outside of a range; less than 0 inside, by the way out.
float Outside(float channel, float lowest, float extent) {
    const float below = lowest - channel, above = channel - (lowest + extent);
    return below > above ? below : above;
}

float SquareOutside(float outside) { return outside > 0 ? outside * outside : 0; }

// Entries as seen from a cube: what is least and most of their squared distances from its colours (the most with the
// number in the low byte), and which of its corners they lie beyond, in all channels: a bit each, the first for the
// darkest.
struct AroundCube {
    float least[MixEntries::kMost];
    int32_t most[MixEntries::kMost], corners[MixEntries::kMost];
};

// Which of two halves of the corners a channel lies beyond.
int32_t Beyond(float channel, float lowest, float highest, int32_t lowHalf) {
    return (channel <= lowest ? lowHalf : 0) | (channel >= highest ? 255 - lowHalf : 0);
}

void LookAroundCube(const MixEntries& entries, uint32_t lowest, unsigned extent, AroundCube& seen) {
    const auto blue = static_cast<float>(lowest & 255), green = static_cast<float>(lowest >> 8 & 255),
               red = static_cast<float>(lowest >> 16 & 255), side = static_cast<float>(extent);
    const size_t count = InLanes(entries.count);
    for (size_t i = 0; i < count; ++i) {
        const float b = Outside(entries.blue[i], blue, side), g = Outside(entries.green[i], green, side),
                    r = Outside(entries.red[i], red, side);
        seen.least[i] = SquareOutside(b) + SquareOutside(g) + SquareOutside(r);
        const float most = (b + side) * (b + side) + (g + side) * (g + side) + (r + side) * (r + side);
        seen.most[i] = static_cast<int32_t>(most) << 8 | static_cast<int32_t>(i);
    }
    for (size_t i = entries.count; i < count; ++i) seen.most[i] = INT32_MAX;
    for (size_t i = 0; i < count; ++i)
        seen.corners[i] = Beyond(entries.blue[i], blue, blue + side, 0x55) &
                          Beyond(entries.green[i], green, green + side, 0x33) &
                          Beyond(entries.red[i], red, red + side, 0x0F);
}

// How far one must go, squared, from the cube's colours to have an entry beyond each corner, all colours being amid
// those; no limit if there is none beyond some corner.
int32_t ToAllCorners(const AroundCube& seen, size_t count) {
    int32_t farthest = 0;
    for (int32_t corner = 1; corner < 256; corner *= 2) {
        int32_t keys[MixEntries::kMost];
        for (size_t i = 0; i < count; ++i) keys[i] = (seen.corners[i] & corner) != 0 ? seen.most[i] : INT32_MAX;
        const int32_t nearest = Least(keys, count);
        farthest = nearest > farthest ? nearest : farthest;
    }
    return farthest >> 8;
}

// No fourth-nearest entry of a colour in the cube is farther from it than the fourth-nearest to the cube's far sides.
unsigned FindNear(const MixEntries& entries, const MixWeights& weights, uint32_t lowest, unsigned extent,
                  uint8_t* numbers) {
    AroundCube seen;
    LookAroundCube(entries, lowest, extent, seen);
    const float limit = weights.reach > 0
                            ? weights.reach * static_cast<float>(FourthLeast(seen.most, entries.count) >> 8)
                            : static_cast<float>(ToAllCorners(seen, InLanes(entries.count)));
    unsigned found = 0;
    for (unsigned i = 0; i < entries.count; ++i) {
        numbers[found] = static_cast<uint8_t>(i);
        found += seen.least[i] <= limit ? 1 : 0;
    }
    return found;
}

// The part of the squared distance along the greys counts less. So of mixtures that are equally good, as the corners of
// a cube offer them, that along the greys is taken. Its entries have the same order in every channel, which keeps each
// channel's mean best in small areas.
void Weigh(const MixWeights& weights, uint32_t fourth, Candidates& candidates) {
    const float limit = weights.reach > 0 ? weights.reach * static_cast<float>(fourth) : kNever;
    const float perLimit = 1 / limit;
    const size_t count = InLanes(candidates.count);
    for (size_t i = 0; i < count; ++i) {
        const float distance = static_cast<float>(candidates.keys[i] >> 8);
        const float way = distance * perLimit;
        const float along = candidates.blue[i] + candidates.green[i] + candidates.red[i];
        const float weighed = distance - weights.alongGreys * (along * along);
        const float cost = weights.spread * (weighed / (1 - way * way));
        candidates.costs[i] = distance < limit ? cost : kNever;
    }
    for (size_t i = candidates.count; i < count; ++i) candidates.costs[i] = kNever;
}

// A whole number for a float, which rises as it does.
int32_t InOrder(float value) {
    int32_t bits = __builtin_bit_cast(int32_t, value);
    return bits ^ (bits >> 31 & INT32_MAX);
}

// The candidate along whose share the sum falls most; of those that agree in two bytes of it the first. (Slopes are all
// less the same.)
unsigned Steepest(const Candidates& candidates, const Vector& mean) {
    const auto blue = static_cast<float>(2 * mean.blue), green = static_cast<float>(2 * mean.green),
               red = static_cast<float>(2 * mean.red);
    const size_t count = InLanes(candidates.count);
    int32_t least = INT32_MAX;
    for (size_t i = 0; i < count; ++i) {
        const float slope =
            candidates.blue[i] * blue + candidates.green[i] * green + candidates.red[i] * red + candidates.costs[i];
        const int32_t key = (InOrder(slope) & ~255) | static_cast<int32_t>(i);
        least = key < least ? key : least;
    }
    return static_cast<unsigned>(least & 255);
}

// Candidates with a share, as far as the search has come.
struct Held {
    unsigned count;
    unsigned entries[Shares::kMost];
    double shares[Shares::kMost];
    Vector offsets[Shares::kMost];
    double costs[Shares::kMost];
};

// The sum's slope along a share, as exactly as the shares are known.
double Slope(const Vector& offset, double cost, const Vector& mean) { return 2 * Dot(offset, mean) + cost; }

void Take(const Candidates& candidates, unsigned entry, double share, Held& held) {
    const unsigned place = held.count++;
    held.entries[place] = entry;
    held.shares[place] = share;
    held.offsets[place] = At(candidates, entry);
    held.costs[place] = candidates.costs[entry];
}

void Drop(Held& held, unsigned place) {
    --held.count;
    for (unsigned i = place; i < held.count; ++i) {
        held.entries[i] = held.entries[i + 1];
        held.shares[i] = held.shares[i + 1];
        held.offsets[i] = held.offsets[i + 1];
        held.costs[i] = held.costs[i + 1];
    }
}

Vector Mean(const Held& held) {
    Vector mean = {0, 0, 0};
    for (unsigned i = 0; i < held.count; ++i) {
        mean.blue += held.shares[i] * held.offsets[i].blue;
        mean.green += held.shares[i] * held.offsets[i].green;
        mean.red += held.shares[i] * held.offsets[i].red;
    }
    return mean;
}

// The shares, maybe negative, of the entries held at which the sum is least and the shares' own sum 1: Gauss
// elimination of the conditions that all slopes are equal, the first entry's share being what the others leave. The
// matrix is symmetric, positive definite, and needs no pivots.
template <unsigned kOthers>
void BestShares(const Held& held, double* best) {
    double rows[kOthers][kOthers + 1], perPivot[kOthers];
    Vector edges[kOthers];
    for (unsigned i = 0; i < kOthers; ++i) edges[i] = Difference(held.offsets[i + 1], held.offsets[0]);
    for (unsigned i = 0; i < kOthers; ++i) {
        for (unsigned j = i; j < kOthers; ++j) rows[i][j] = 2 * Dot(edges[i], edges[j]) + 2 * kRegular;
        rows[i][i] += 2 * kRegular;
        rows[i][kOthers] = 2 * kRegular - 2 * Dot(edges[i], held.offsets[0]) - (held.costs[i + 1] - held.costs[0]);
    }
    for (unsigned pivot = 0; pivot < kOthers; ++pivot) {
        perPivot[pivot] = 1 / rows[pivot][pivot];
        for (unsigned i = pivot + 1; i < kOthers; ++i) {
            const double factor = rows[pivot][i] * perPivot[pivot];
            for (unsigned j = i; j <= kOthers; ++j) rows[i][j] -= factor * rows[pivot][j];
        }
    }
    best[0] = 1;
    for (unsigned i = kOthers; i-- > 0;) {
        double value = rows[i][kOthers];
        for (unsigned j = i + 1; j < kOthers; ++j) value -= rows[i][j] * best[j + 1];
        best[i + 1] = value * perPivot[i];
        best[0] -= best[i + 1];
    }
}

void BestShares(const Held& held, double* best) {
    static_assert(Shares::kMost == 6);
    switch (held.count) {
        case 2: return BestShares<1>(held, best);
        case 3: return BestShares<2>(held, best);
        case 4: return BestShares<3>(held, best);
        case 5: return BestShares<4>(held, best);
        default: return BestShares<5>(held, best);
    }
}

// Goes from the shares held towards the best; where an entry's share comes to nothing first, drops it and starts over.
void Settle(Held& held) {
    while (held.count > 1) {
        double best[Shares::kMost];
        BestShares(held, best);
        double way = 1;
        unsigned dropped = held.count;
        for (unsigned i = 0; i < held.count; ++i) {
            if (best[i] > 0) continue;
            const double reach = held.shares[i] / (held.shares[i] - best[i]);
            if (reach >= way && dropped != held.count) continue;
            way = reach < way ? reach : way;
            dropped = i;
        }
        if (dropped == held.count) {
            for (unsigned i = 0; i < held.count; ++i) held.shares[i] = best[i];
            return;
        }
        for (unsigned i = 0; i < held.count; ++i) held.shares[i] += way * (best[i] - held.shares[i]);
        Drop(held, dropped);
    }
    held.shares[0] = 1;
}

void Search(const Candidates& candidates, unsigned nearest, Held& held) {
    held.count = 0;
    Take(candidates, nearest, 1, held);
    for (unsigned round = 0; round < kMostRounds; ++round) {
        const Vector mean = Mean(held);
        const unsigned entry = Steepest(candidates, mean);
        for (unsigned i = 0; i < held.count; ++i)
            if (held.entries[i] == entry) return;
        // All that are held have the same slope.
        const double slope = Slope(held.offsets[0], held.costs[0], mean);
        const double ofEntry = Slope(At(candidates, entry), candidates.costs[entry], mean);
        if (ofEntry >= slope - kTolerance || held.count == Shares::kMost) return;
        Take(candidates, entry, 0, held);
        Settle(held);
    }
}

// More than four entries are left only where roundings brought it about; the smallest shares then are no loss.
void KeepFour(Held& held) {
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

void Mix(const MixEntries& entries, const MixWeights& weights, uint32_t color, Shares& shares) {
    Candidates candidates;
    Look(entries, color, candidates);
    const Surroundings around = AsSeen(candidates);
    Weigh(weights, around.fourth, candidates);
    Held held;
    Search(candidates, around.nearest, held);
    KeepFour(held);
    shares.count = held.count;
    for (unsigned i = 0; i < held.count; ++i) {
        shares.entries[i] = held.entries[i];
        shares.shares[i] = held.shares[i];
    }
}

Surroundings LookAround(const MixEntries& entries, uint32_t color) {
    Candidates seen;
    Look(entries, color, seen);
    return AsSeen(seen);
}

constexpr DitherMixKernels kKernels = {&FindNear, &LookAround, &Mix};

}  // namespace
}  // namespace zpixf
