// Whole operations on a large bitmap in memory, against copying the pixels that they must read and write once.
#include <cstdint>
#include <functional>
#include <memory>

#include "Benchmark.h"
#include "harness/Pictures.h"
#include "shr/ColorFormat.h"
#include "zbm/ZMemBitmap.h"

namespace {

using zbm::ZMemBitmap;

constexpr int kSide = 8192;
constexpr double kMegapixels = kSide / 1000.0 * kSide / 1000.0;

/// An opaque one, as most pictures are.
std::unique_ptr<ZMemBitmap> LargeBitmap(shr::ColorFormat format) {
    auto bitmap = std::make_unique<ZMemBitmap>(kSide, kSide, format);
    auto row = bench::Noise(shr::RowBytes(kSide, format));
    if (format == shr::BGRA_32)
        for (std::size_t alpha = 3; alpha < row.size(); alpha += 4) row[alpha] = 255;
    for (int y = 0; y < kSide; ++y) bitmap->StoreRegion(row.data(), 0, 0, y, kSide, 1);
    return bitmap;
}

std::size_t BytesOf(shr::ColorFormat format) { return static_cast<std::size_t>(shr::RowBytes(kSide, format)) * kSide; }

/// `readAndWritten` is what must be read and what must be written, together; a copy handles each of its bytes twice.
void AgainstCopying(bench::Run& run, std::size_t readAndWritten, const std::function<void()>& operation) {
    run.TakeTurns({kMegapixels, "MP/s"}, operation, "ratio_to_copying", bench::Copy(readAndWritten / 2));
}

void ChangeBrightness(bench::Run& run) {
    const auto bitmap = LargeBitmap(shr::BGRA_32);
    double amount = 0.1;
    AgainstCopying(run, 2 * BytesOf(shr::BGRA_32), [&] {
        bench::Keep(bitmap->ChangeBrightness(amount, nullptr));
        amount = -amount;
    });
}

/// A result whose memory the process has yet to get from the system.
void ConvertToNew(bench::Run& run) {
    const auto bitmap = LargeBitmap(shr::BGR_24);
    AgainstCopying(run, BytesOf(shr::BGR_24) + BytesOf(shr::BGRA_32), [&] {
        zbm::ZBasicMemBitmap result(1, 1, shr::BGRA_32);
        bench::Keep(result.Create(shr::BGRA_32, *bitmap, nullptr));
    });
}

/// Each level is read once but the last, and written once: 1 + 1/4 + ... read, 1/4 + 1/16 + ... written.
void CommitAll(bench::Run& run) {
    const auto bitmap = LargeBitmap(shr::BGRA_32);
    AgainstCopying(run, BytesOf(shr::BGRA_32) * 5 / 3, [&] { bench::Keep(bitmap->CommitAll(nullptr, true)); });
}

/// After a change, which drops the levels and with them their memory.
void CommitAllAnew(bench::Run& run) {
    const auto bitmap = LargeBitmap(shr::BGRA_32);
    AgainstCopying(run, BytesOf(shr::BGRA_32) * 5 / 3, [&] {
        bitmap->CommitScanRect(0, 0);
        bench::Keep(bitmap->CommitAll(nullptr));
    });
}

void Convert(bench::Run& run, shr::ColorFormat from, shr::ColorFormat to) {
    const auto bitmap = LargeBitmap(from);
    zbm::ZBasicMemBitmap result(1, 1, shr::BGRA_32);
    AgainstCopying(run, BytesOf(from) + BytesOf(to), [&] { bench::Keep(result.Create(to, *bitmap, nullptr)); });
}

[[maybe_unused]] const bool kAdded = bench::Add({
    {"ChangeBrightness", 5, ChangeBrightness},
    {"CommitAll", 5, CommitAll},
    {"CommitAllAnew", 5, CommitAllAnew},
    {"ConvertToNew", 5, ConvertToNew},
    {"Convert/bgr_to_bgra", 5, [](bench::Run& run) { Convert(run, shr::BGR_24, shr::BGRA_32); }},
    {"Convert/bgra_to_gray8", 5, [](bench::Run& run) { Convert(run, shr::BGRA_32, shr::GRAYSCALE_8); }},
});

}  // namespace
