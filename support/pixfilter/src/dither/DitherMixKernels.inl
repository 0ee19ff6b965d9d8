// The search for mixtures; the including file defines the table of its level. Nothing here calls the standard library
// or is inline with external linkage, so no copy compiled for a wide level can stand in for another. Every level does
// the same operations in the same order, and none is contracted, so that the doubles agree to the last bit.
//
// With q the entries less the colour, and w their shares, the search minimises
//
//     |sum of w q|^2 + kSpread * (sum of w |q|^2) + kRegular * (sum of w^2)
//
// over all w that are not negative and add up to 1. The first term is the distance of the mean; the second, small
// beside it, chooses among mixtures of the same mean the one of the least variance, which is that of the corners of
// the Delaunay tetrahedron around the colour; the third, smaller still, makes every subproblem solvable. This is an
// active-set search (as P. Wolfe's, Finding the Nearest Point in a Polytope, 1976): it holds the few entries with a
// share, finds their best shares, drops an entry whose share would be negative, and takes in the entry that lowers the
// sum most, until none does.
#include "dither/DitherMixKernels.h"

namespace zpixf {
namespace {

using std::size_t;

constexpr double kSpread = 1e-4, kRegular = 1e-8;
constexpr double kTolerance = 1e-7;
constexpr unsigned kMostRounds = 64;  // some 10 are usual; what is there then is a mixture like any other

struct Vector {
    double blue, green, red;
};
double Dot(const Vector& a, const Vector& b) { return a.blue * b.blue + a.green * b.green + a.red * b.red; }

Vector Offset(const MixPalette& palette, unsigned entry, const Vector& color) {
    return {palette.blue[entry] - color.blue, palette.green[entry] - color.green, palette.red[entry] - color.red};
}

double Magnitude(double value) { return value < 0 ? -value : value; }

// The sum's slopes along each entry's share, all less the same. Gives the entry with the least.
unsigned Steepest(const MixPalette& palette, const Vector& color, const Vector& mean, double* slopes) {
    const double blue = 2 * (mean.blue - kSpread * color.blue), green = 2 * (mean.green - kSpread * color.green),
                 red = 2 * (mean.red - kSpread * color.red);
    double least[MixPalette::kStep];
    for (double& value : least) value = 1e300;
    for (unsigned i = 0; i < palette.count; i += MixPalette::kStep)
        for (unsigned j = 0; j < MixPalette::kStep; ++j) {
            const double slope = palette.blue[i + j] * blue + palette.green[i + j] * green + palette.red[i + j] * red +
                                 kSpread * palette.squares[i + j];
            slopes[i + j] = slope;
            least[j] = slope < least[j] ? slope : least[j];
        }
    unsigned lane = 0;
    for (unsigned j = 1; j < MixPalette::kStep; ++j) lane = least[j] < least[lane] ? j : lane;
    while (slopes[lane] != least[lane % MixPalette::kStep]) lane += MixPalette::kStep;
    return lane;
}

// The shares, maybe negative, of the entries held at which the sum is least and the shares' own sum 1: Gauss
// elimination of the conditions that all slopes are equal.
void BestShares(const MixPalette& palette, const Vector& color, const Shares& held, double* best) {
    constexpr unsigned kSide = Shares::kMost + 1;
    const unsigned n = held.count;
    double rows[kSide][kSide + 1] = {};
    Vector q[Shares::kMost];
    for (unsigned i = 0; i < n; ++i) q[i] = Offset(palette, held.entries[i], color);
    for (unsigned i = 0; i < n; ++i) {
        for (unsigned j = 0; j < n; ++j) rows[i][j] = 2 * Dot(q[i], q[j]);
        rows[i][i] += 2 * kRegular;
        rows[i][n] = 1;
        rows[n][i] = 1;
        rows[i][n + 1] = -kSpread * (Dot(q[i], q[i]) + palette.bias[held.entries[i]]);
    }
    rows[n][n + 1] = 1;
    for (unsigned column = 0; column <= n; ++column) {
        unsigned pivot = column;
        for (unsigned i = column + 1; i <= n; ++i)
            if (Magnitude(rows[i][column]) > Magnitude(rows[pivot][column])) pivot = i;
        for (unsigned j = column; j <= n + 1; ++j) {
            const double swapped = rows[column][j];
            rows[column][j] = rows[pivot][j];
            rows[pivot][j] = swapped;
        }
        if (rows[column][column] == 0) continue;
        for (unsigned i = column + 1; i <= n; ++i) {
            const double factor = rows[i][column] / rows[column][column];
            for (unsigned j = column; j <= n + 1; ++j) rows[i][j] -= factor * rows[column][j];
        }
    }
    for (unsigned i = n + 1; i-- > 0;) {
        double value = rows[i][n + 1];
        for (unsigned j = i + 1; j <= n; ++j) value -= rows[i][j] * (j < n ? best[j] : rows[j][n + 1]);
        value = rows[i][i] == 0 ? 0 : value / rows[i][i];
        if (i < n)
            best[i] = value;
        else
            rows[i][n + 1] = value;
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
void Settle(const MixPalette& palette, const Vector& color, Shares& held) {
    while (held.count > 1) {
        double best[Shares::kMost];
        BestShares(palette, color, held, best);
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

void Search(const MixPalette& palette, double blue, double green, double red, Shares& held) {
    const Vector color = {blue, green, red};
    double slopes[256];
    if (held.count == 0) {
        held.count = 1;
        held.entries[0] = Steepest(palette, color, {0, 0, 0}, slopes);  // the nearest, as only the second term counts
        held.shares[0] = 1;
    }
    Settle(palette, color, held);
    for (unsigned round = 0; round < kMostRounds; ++round) {
        Vector mean = {0, 0, 0};
        for (unsigned i = 0; i < held.count; ++i) {
            const Vector q = Offset(palette, held.entries[i], color);
            mean.blue += held.shares[i] * q.blue;
            mean.green += held.shares[i] * q.green;
            mean.red += held.shares[i] * q.red;
        }
        const unsigned entry = Steepest(palette, color, mean, slopes);
        double slope = 0;
        for (unsigned i = 0; i < held.count; ++i) {
            if (held.entries[i] == entry) return;
            slope += held.shares[i] * slopes[held.entries[i]];
        }
        if (slopes[entry] >= slope - kTolerance || held.count == Shares::kMost) return;
        held.entries[held.count] = entry;
        held.shares[held.count] = 0;
        ++held.count;
        Settle(palette, color, held);
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

void Mix(const MixPalette& palette, double blue, double green, double red, Shares& shares) {
    Search(palette, blue, green, red, shares);
    KeepFour(shares);
}

constexpr DitherMixKernels kKernels = {&Mix};

}  // namespace
}  // namespace zpixf
