// Loads whatever comes as a bitmap's archive, and uses the bitmap if that succeeds.
//
// The first byte of an input says how: bit 0 chooses ZBasicMemBitmap or ZMemBitmap, bit 1 whether the archive tells how
// much is left to read. fuzz/make_corpus.cpp makes the seeds.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include <sanitizer/allocator_interface.h>

#include "shr/Archive.h"
#include "shr/Exception.h"
#include "shr/ScopeExit.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZMemBitmap.h"

// Few bytes can stand for many. A request for more than this fails here, as it would on a small machine, so that the
// fuzzer's own limit is left for what must not be.
constexpr std::size_t kLargestRequest = std::size_t{256} << 20;

extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() {
    return "allocator_may_return_null=1:max_allocation_size_mb=256:alloc_dealloc_mismatch=0";
}

// The sanitizer's own operator new would end the program instead of throwing. (libFuzzer mixes its forms with these, so
// that the sanitizer must not compare them.)
void* operator new(std::size_t size) {
    void* block = size > kLargestRequest ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (block == nullptr) throw std::bad_alloc();
    return block;
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace {

struct EndOfArchive {};

class PlainArchive : public shr::ISerialize {
public:
    PlainArchive(const std::uint8_t* first, std::size_t count) : bytes(first), left(count) {}
    bool IsStoring() override { return false; }
    void Read(void* dst, unsigned int byteCount) override {
        if (byteCount > left) throw EndOfArchive();
        if (byteCount != 0) std::memcpy(dst, bytes, byteCount);
        bytes += byteCount;
        left -= byteCount;
    }
    void Write(const void*, unsigned int) override { std::abort(); }
    std::size_t Left() const { return left; }

protected:
    const std::uint8_t* bytes;
    std::size_t left;
};

class TellingArchive : public PlainArchive, public shr::ISerializeExtent {
public:
    using PlainArchive::PlainArchive;
    std::uint64_t RemainingBytes() override { return left; }
};

void Require(bool condition) {
    if (!condition) std::abort();
}

/// The largest request that is in order at the moment.
std::size_t mostBytes = SIZE_MAX;

void OnAllocated(const volatile void*, std::size_t size) { Require(size <= mostBytes); }
void OnFreed(const volatile void*) {}
[[maybe_unused]] const int installed = __sanitizer_install_malloc_and_free_hooks(&OnAllocated, &OnFreed);

/// What loading `count` bytes may ask for at once: the rows of a picture without pixels, or what the codec expands the
/// bytes to, with a table of rows as long as two of them.
std::size_t MostBytesFor(std::size_t count) { return (std::size_t{64} << 20) + 4 * 32768 * count; }

template <class Archive>
bool Load(zbm::ZBasicMemBitmap& bitmap, Archive& archive) {
    zbm::SerializeIO io(archive, true);
    mostBytes = MostBytesFor(archive.Left());
    const shr::ScopeExit anyRequestAgain([] { mostBytes = SIZE_MAX; });
    try {
        return bitmap.Serialize(io, nullptr, nullptr);
    } catch (const shr::Exception&) { return false; } catch (const EndOfArchive&) {
        return false;
    } catch (const std::bad_alloc&) {
        Require(mostBytes > kLargestRequest);
        return false;
    }
}

std::vector<std::uint8_t> Store(zbm::ZBasicMemBitmap& bitmap) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, true, zcdl::CodecMethod::fast);
    Require(bitmap.Serialize(io, nullptr, nullptr));
    return archive.Bytes();
}

void Fetch(const zbm::ZBitmap& bitmap, const RECT& rect) {
    const std::int64_t width = rect.right - rect.left, height = rect.bottom - rect.top;
    if (width < 1 || height < 1) return;
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(4 * width * height));
    const int stride = static_cast<int>(4 * width);
    bitmap.FetchRegion(pixels.data(), stride, rect);
    if (!shr::ColorFmtHasAlphaChannel[bitmap.GetColorFormat()]) bitmap.GetAlphaFromMask(pixels.data(), stride, rect, 4);
}

void LockAllTiles(const zbm::ZBitmap& bitmap) {
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const zbm::ZScanRect& tile = bitmap.LockScanRect(row, col);
            const RECT box = bitmap.GetScanRectBBox(row, col);
            Require(tile.GetWidth() == box.right - box.left && tile.GetHeight() == box.bottom - box.top);
            Require(tile.GetColorFormat() == bitmap.GetColorFormat());
            bitmap.UnlockScanRect(row, col);
        }
}

/// What a loaded bitmap is good for; large ones (few bytes can stand for many) only in parts.
template <class Bitmap>
void Use(Bitmap& bitmap) {
    LockAllTiles(bitmap);
    for (unsigned i = 0; i < bitmap.GetNumColorTableItems(); ++i) bitmap.GetColorTableItem(i);
    constexpr int kMostPixels = 2048;
    const int width = bitmap.GetPixelWidth(), height = bitmap.GetPixelHeight();
    Fetch(bitmap, RECT{0, 0, std::min(width, kMostPixels), std::min(height, kMostPixels)});
    Fetch(bitmap, RECT{1, 1, std::min(width, kMostPixels), std::min(height, kMostPixels)});
    const int x = std::max(width / 2, width - kMostPixels / 2), y = std::max(height / 2, height - kMostPixels / 2);
    if (x < 0x7FFFFF00 && y < 0x7FFFFF00) Fetch(bitmap, RECT{x, y, x + 65, y + 3});
    if (static_cast<std::int64_t>(width) * height > kMostPixels * kMostPixels) return;

    const std::vector<std::uint8_t> stored = Store(bitmap);
    Bitmap again(1, 1, shr::BGRA_32);
    TellingArchive archive(stored.data(), stored.size());
    Require(Load(again, archive));
    Require(Store(again) == stored);
    try {
        const Bitmap copy(again);
        Require(copy.GetPixelWidth() == width && copy.GetPixelHeight() == height);
    } catch (const shr::InternalError& error) { Require(error.GetLine() == 156); }  // more colours than the format has
}

template <class Bitmap, class Archive>
void LoadAndUse(Archive& archive) {
    Bitmap bitmap(3, 3, shr::INDEXED_4, 2, 2);
    if (Load(bitmap, archive)) Use(bitmap);
    bitmap.Create(3, 2, shr::GRAYSCALE_1, 2, 2);
    LockAllTiles(bitmap);
}

template <class Archive>
void Run(bool withReductions, const std::uint8_t* bytes, std::size_t count) {
    Archive archive(bytes, count);
    if (withReductions)
        LoadAndUse<zbm::ZMemBitmap>(archive);
    else
        LoadAndUse<zbm::ZBasicMemBitmap>(archive);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const bool withReductions = (data[0] & 1) != 0, tellsLength = (data[0] & 2) != 0;
    if (tellsLength)
        Run<TellingArchive>(withReductions, data + 1, size - 1);
    else
        Run<PlainArchive>(withReductions, data + 1, size - 1);
    return 0;
}
