// The record of a bitmap with reductions in an archive: u16 version 1, the bitmap's own record, u32 whether reductions
// follow, and if so u32 how many, and the record of each.
#include "core/ReductionRecords.h"
#include "core/checks/MemBitmapChecks.h"
#include "shr/ScopeExit.h"
#include "zbm/ZMemBitmap.h"

namespace zbm {

namespace {

/// Halving the longest side that there is gives a side of one pixel after 30 times.
constexpr std::uint32_t kMostReductions = 31;

}  // namespace

bool ZMemBitmap::Serialize(SerializeIO& io, shr::IProgress* progress, ISerializeLegacyGCS* legacy) {
    require(legacy == nullptr, MemBitmapCheck::legacy);
    return io.IsStoring() ? StoreWithReductions(io, progress) : LoadWithReductions(io, progress);
}

bool ZMemBitmap::StoreWithReductions(SerializeIO& io, shr::IProgress* progress) {
    require(colorFormat != shr::FORMAT_NONE, MemBitmapCheck::storedFormat);
    io.WriteObjVersion(1);
    if (!ZBasicMemBitmap::Serialize(io, progress, nullptr)) return false;
    return StoreReductions(reductions, io, progress);
}

/// An archive that fails even here leaves the bitmap empty.
unsigned short ZMemBitmap::ReadVersion(SerializeIO& io) {
    shr::ScopeExit leaveEmpty([this] {
        FreeAllPOTReductions();
        CreateCleanup();
    });
    const unsigned short version = io.ReadObjVersion();
    leaveEmpty.Release();
    return version;
}

bool ZMemBitmap::LoadWithReductions(SerializeIO& io, shr::IProgress* progress) {
    require(ReadVersion(io) == 1, MemBitmapCheck::recordVersion);
    FreeAllPOTReductions();
    needsRebuild = true;
    return ZBasicMemBitmap::Serialize(io, progress, nullptr) && LoadReductions(io, progress);
}

bool ZMemBitmap::LoadReductions(SerializeIO& io, shr::IProgress* progress) {
    std::unique_ptr<ZBasicMemBitmap> level;
    shr::ScopeExit undo([&] {
        FreeAllPOTReductions();
        // A level that holds something is one of an unknown version: then what was read stays. Others were emptied.
        if (level == nullptr || level->GetColorFormat() == shr::FORMAT_NONE) CreateCleanup();
    });
    const bool stored = ReadU32(io) != 0;
    const std::uint32_t count = stored ? ReadU32(io) : 0;
    require(count <= kMostReductions, MemBitmapCheck::reductionCount);
    reductions.reserve(count);
    for (std::uint32_t number = 0; number < count; ++number) {
        level = std::make_unique<ZBasicMemBitmap>(1, 1, shr::BGRA_32, 512, 512);
        if (!level->Serialize(io, progress, nullptr)) {
            FreeAllPOTReductions();
            Create(1, 1, shr::BGRA_32, 512, 512);
            undo.Release();
            return false;
        }
        const bool hasPixels = level->GetPixelWidth() > 0 && level->GetPixelHeight() > 0;
        reductions.push_back(std::move(level));
        require(hasPixels, MemBitmapCheck::reductionSize);
    }
    needsRebuild = !stored;
    undo.Release();
    return true;
}

}  // namespace zbm
