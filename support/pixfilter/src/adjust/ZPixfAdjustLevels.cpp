// Tables of levels, and arithmetic that gives the same.
#include "adjust/ZPixfAdjustLevels.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace zpixf {
namespace {

/// To the nearest whole number. What lies less than 2^-32 below a half goes up with the halves: an amount like 0.175
/// is not quite its decimal fraction, but its halves shall be.
double Rounded(double value) { return std::floor(value + (0.5 + 0x1p-32)); }

/// tan(angle * pi / 4) for an angle of 0 to 1. The C library's may differ in the last bit from system to system; four
/// operations of arithmetic may not.
double TangentOfQuarters(double angle) {
    constexpr double kQuarterPi = 0.78539816339744830962;
    const double x = angle * kQuarterPi;
    const double square = x * x;
    double sine = 1, cosine = 1;
    for (int n = 20; n >= 2; n -= 2) {  // x^22 / 22! is below 2^-70
        const double cosineStep = square / (n * (n - 1.0));
        const double sineStep = square / (n * (n + 1.0));
        const double lessCosine = cosineStep * cosine;
        const double lessSine = sineStep * sine;
        cosine = 1 - lessCosine;
        sine = 1 - lessSine;
    }
    return x * sine / cosine;
}

/// As ZPixfContrast states it. From 255 on the levels are those of a threshold.
double ContrastSlope(double amount) {
    constexpr double kSteepest = 255;
    const double tangent = TangentOfQuarters(1 - std::fabs(amount));
    if (amount <= 0) return tangent;
    return tangent * kSteepest > 1 ? 1 / tangent : kSteepest;
}

/// Between which slopes a line lies that gives the table: floor(line) between `first` and `last`, and no less above.
struct Slopes {
    double least = 0, greatest = std::numeric_limits<double>::infinity();
};

/// How the search sees a table: levels above `ceiling` become what it becomes, and 0 and 255 may stand for what lies
/// beyond.
struct SearchedTable {
    const LevelTable& levels;
    int ceiling, lastBlack;

    explicit SearchedTable(const LevelTable& newLevels) : levels(newLevels), ceiling(0), lastBlack(0) {
        while (ceiling < 255 && levels[Index(ceiling)] < 255) ++ceiling;
        while (lastBlack < ceiling && levels[Index(lastBlack + 1)] == 0) ++lastBlack;
    }
    static std::size_t Index(int level) { return static_cast<std::size_t>(level); }
    int At(int level) const { return levels[Index(level)]; }

    /// Bounds of the slope, from so many of the first and the last levels. From all levels, they leave room if and only
    /// if the table is a line.
    Slopes FindSlopes(int numLevels) const {
        Slopes slopes;
        for (int i = lastBlack; i <= std::min(lastBlack + numLevels, ceiling); ++i)
            for (int j = std::max(i + 1, ceiling - numLevels); j <= ceiling; ++j) {
                const double rise = At(j) - At(i), run = j - i;
                if (At(i) > 0 && At(j) < 255) slopes.greatest = std::min(slopes.greatest, (rise + 1) / run);
                if (At(j) > 0 && At(i) < 255) slopes.least = std::max(slopes.least, (rise - 1) / run);
            }
        return slopes;
    }
};

/// Completes a form that has its ceiling, low, factor and shift by what is to be added; false if nothing will do.
bool FindOffset(const SearchedTable& table, LevelForm& form) {
    int least = -65535, greatest = 65535;
    for (int level = 0; level <= table.ceiling && least <= greatest; ++level) {
        const std::uint32_t scaled = static_cast<std::uint32_t>(level) * 256 + form.low;
        const int value = static_cast<int>(scaled * form.factor >> 16), wanted = table.At(level);
        if (wanted > 0) least = std::max(least, (wanted << form.shift) - value);
        if (wanted < 255) greatest = std::min(greatest, ((wanted + 1) << form.shift) - 1 - value);
    }
    if (least > greatest) return false;
    const int offset = std::clamp(0, least, greatest);
    form.raise = static_cast<std::uint16_t>(std::max(offset, 0));
    form.lower = static_cast<std::uint16_t>(std::max(-offset, 0));
    return true;
}

bool GivesLevels(const LevelForm& form, const LevelTable& levels) {
    for (unsigned level = 0; level < 256; ++level)
        if (UncappedLevel(form, level) > 32767 || ApplyLevelForm(form, level) != levels[level]) return false;
    return true;
}

/// The form with the highest ceiling, if that gives the levels too: then it need not be looked at.
LevelForm WithoutCeiling(LevelForm form, const LevelTable& levels) {
    const std::uint8_t ceiling = form.ceiling;
    form.ceiling = 255;
    if (!GivesLevels(form, levels)) form.ceiling = ceiling;
    return form;
}

/// Tries every factor that the slopes allow, from the middle outwards.
bool FindFactor(const SearchedTable& table, Slopes slopes, LevelForm& form) {
    constexpr double kLargest = 65535, kWidest = 200;
    const double unit = std::ldexp(1.0, 8 + static_cast<int>(form.shift));
    const double first = std::ceil(slopes.least * unit), last = std::min(kLargest, std::floor(slopes.greatest * unit));
    const double middle = std::floor((first + last) / 2), count = std::min(last - first + 1, kWidest);
    for (double n = 0; n < count; ++n) {
        const double away = std::floor((n + 1) / 2);
        const double factor = std::floor(n / 2) == n / 2 ? middle - away : middle + away;
        if (factor < first || factor > last) continue;
        form.factor = static_cast<std::uint16_t>(factor);
        if (FindOffset(table, form) && GivesLevels(form, table.levels)) return true;
    }
    return false;
}

/// Tries so many numbers for the lowest byte.
bool FindWithLows(const SearchedTable& table, Slopes slopes, unsigned firstLow, unsigned numLows, LevelForm& form) {
    for (unsigned shift = 9; shift-- > 0;)
        for (unsigned n = firstLow; n < numLows; ++n) {
            form.shift = shift;
            form.low = static_cast<std::uint8_t>(n * 85);  // 85 is odd: every byte comes once
            if (FindFactor(table, slopes, form)) return true;
        }
    return false;
}

}  // namespace

LevelTable BrightnessLevels(double amount) {
    LevelTable levels;
    for (int level = 0; level < 256; ++level) {
        const double change = Rounded(amount * (amount > 0 ? 255 - level : level));
        levels[SearchedTable::Index(level)] = static_cast<std::uint8_t>(level + static_cast<int>(change));
    }
    return levels;
}

LevelTable ContrastLevels(double amount) {
    LevelTable levels;
    const double slope = ContrastSlope(amount);
    for (int level = 0; level < 256; ++level) {
        const double fromGrey = slope * (level - 127.5);
        const double value = Rounded(127.5 + fromGrey);
        levels[SearchedTable::Index(level)] = static_cast<std::uint8_t>(std::clamp(value, 0.0, 255.0));
    }
    return levels;
}

// The more bits behind the point, the better the chances; and adding a constant in the lowest byte is free.
std::optional<LevelForm> FindLevelForm(const LevelTable& levels) {
    if (!std::is_sorted(levels.begin(), levels.end())) return std::nullopt;
    const SearchedTable table(levels);
    const Slopes slopes = table.FindSlopes(std::max(1, (table.ceiling - table.lastBlack) / 3));
    LevelForm form = {};
    form.ceiling = static_cast<std::uint8_t>(table.ceiling);
    constexpr unsigned kFewLows = 4, kLows = 256;
    if (FindWithLows(table, slopes, 0, kFewLows, form)) return WithoutCeiling(form, levels);
    const Slopes exact = table.FindSlopes(255);
    if (exact.least < exact.greatest && FindWithLows(table, exact, kFewLows, kLows, form))
        return WithoutCeiling(form, levels);
    return std::nullopt;
}

}  // namespace zpixf
