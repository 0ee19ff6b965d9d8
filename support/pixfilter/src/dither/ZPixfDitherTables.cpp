#include "dither/ZPixfDitherTables.h"

#include <algorithm>
#include <array>
#include <mutex>
#include <utility>

#include "palette/PackedColor.h"

namespace zpixf {
namespace {

/// One for a picture's own palette and one for a fixed palette: some megabytes each.
constexpr std::size_t kMostKept = 2;

std::mutex mutex;
constinit std::array<std::unique_ptr<OrderedTables>, kMostKept> kept;  // the one kept last comes first

}  // namespace

OrderedTables::OrderedTables(const RGBQUAD* newEntries, unsigned numEntries, double newStrength)
    : entries(newEntries, newEntries + numEntries),
      strength(newStrength),
      exactColors(newEntries, numEntries),
      mixtures(newEntries, numEntries, newStrength) {}

bool OrderedTables::IsFor(const RGBQUAD* otherEntries, unsigned numEntries, double otherStrength) const {
    return strength == otherStrength &&
           std::equal(entries.begin(), entries.end(), otherEntries, otherEntries + numEntries,
                      [](const RGBQUAD& a, const RGBQUAD& b) { return PackedColor(a) == PackedColor(b); });
}

std::unique_ptr<OrderedTables> TakeTables(const RGBQUAD* entries, unsigned numEntries, double strength) {
    {
        const std::scoped_lock lock(mutex);
        for (auto& tables : kept)
            if (tables && tables->IsFor(entries, numEntries, strength)) return std::move(tables);
    }
    return std::make_unique<OrderedTables>(entries, numEntries, strength);
}

void KeepTables(std::unique_ptr<OrderedTables> tables) noexcept {
    {
        const std::scoped_lock lock(mutex);
        for (auto& other : kept) {
            std::swap(tables, other);
            if (!tables) return;
        }
    }
    // Those left over are freed here, out of the lock.
}

void FreeKeptTables() noexcept {
    std::array<std::unique_ptr<OrderedTables>, kMostKept> freed;
    const std::scoped_lock lock(mutex);
    std::swap(freed, kept);
}

}  // namespace zpixf
