// Opens whatever comes as a bitmap's file, reads all that it can of it, and works on it if it opened for writing: it
// must open again then.
//
// The first byte of an input says how: bit 0 opens for reading only. The rest is the file. The seeds are small files
// that the library wrote, those of tests/golden/files among them.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <new>
#include <string>

#include "shr/Exception.h"
#include "zbm/ZScanRectFileBitmap.h"

extern "C" const char* __asan_default_options();
extern "C" const char* __asan_default_options() { return "allocator_may_return_null=1:max_allocation_size_mb=256"; }

namespace {

constexpr double kMostPixels = 1 << 22;  // of what is read: more tells nothing new, and takes long

void Require(bool condition) {
    if (!condition) std::abort();
}

/// In memory, where the system has such a folder.
std::string Place() {
    const auto folder = std::filesystem::exists("/dev/shm") ? "/dev/shm" : std::filesystem::temp_directory_path();
    static const std::string name = folder / ("zbm_fuzz_" + std::to_string(std::filesystem::hash_value(folder)) + "_" +
                                              std::to_string(reinterpret_cast<std::uintptr_t>(&kMostPixels)));
    return name;
}

bool IsSmall(const zbm::ZBitmap& bitmap) {
    return static_cast<double>(bitmap.GetPixelWidth()) * bitmap.GetPixelHeight() < kMostPixels &&
           static_cast<double>(bitmap.GetScanRectWidth()) * bitmap.GetScanRectHeight() < kMostPixels;
}

void ReadAll(const zbm::ZBitmap& bitmap) {
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            try {
                const zbm::ZScanRect& tile = bitmap.LockScanRect(row, col);
                Require(tile.GetColorFormat() == bitmap.GetColorFormat());
                bitmap.UnlockScanRect(row, col);
            } catch (const shr::InternalError&) { std::abort(); } catch (const shr::Exception&) {
            }
        }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string place = Place();
    std::ofstream(place, std::ios::binary | std::ios::trunc)
        .write(reinterpret_cast<const char*>(data + 1), static_cast<std::streamsize>(size - 1));
    const bool readOnly = (data[0] & 1) != 0;
    const shr::ZString name(place.c_str());
    zbm::ZScanRectFileBitmap bitmap(L"", L"", false);
    try {
        bitmap.Open(name, readOnly);
    } catch (const shr::Exception&) {
        Require(!bitmap.IsFileOpen() && bitmap.GetPixelWidth() == 0);
        return 0;
    } catch (const std::bad_alloc&) { return 0; }
    if (!IsSmall(bitmap)) return 0;
    ReadAll(bitmap);
    for (unsigned level = 1; bitmap.GetPtrToPOTReduction(level) != nullptr && level < 32; ++level)
        if (IsSmall(*bitmap.GetPtrToPOTReduction(level))) ReadAll(*bitmap.GetPtrToPOTReduction(level));
    if (readOnly) return 0;
    const bool lacksColors = shr::ColorFmtToTblSize[bitmap.GetColorFormat()] > 0 && bitmap.GetNumColorTableItems() == 0;
    const bool lacksRows = bitmap.GetNumScanRectRows() == 0;  // filtering it is an error of its caller
    if (!lacksColors && !lacksRows) Require(bitmap.ConvertToGrayScale(nullptr));
    bitmap.Close();
    bitmap.Open(name, false);
    return 0;
}
