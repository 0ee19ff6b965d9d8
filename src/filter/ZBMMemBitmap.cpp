#include "zbm/ZMemBitmap.h"

#include <algorithm>

#include "core/TileReading.h"
#include "filter/ReductionSizes.h"
#include "shr/ScopeExit.h"

namespace zbm {

const shr::CTypeInfo ZMemBitmap::ClassTypeId("ZMemBitmap", &ZMemBitmap::CreateInstance, &ZBasicMemBitmap::ClassTypeId);

void* ZMemBitmap::CreateInstance() {
    return static_cast<shr::CTypedObject*>(new ZMemBitmap(1, 1, shr::BGRA_32, 512, 512));
}

const ToldTileReading ZMemBitmap::toldTileReading(typeid(ZMemBitmap), {.resident = &TileInMemory,
                                                                       .currentLevel = &ZMemBitmap::CurrentLevel});

const ZBitmap* ZMemBitmap::CurrentLevel(const ZBitmap& bitmap, unsigned level) {
    const auto& self = static_cast<const ZMemBitmap&>(bitmap);
    if (level == 0) return &self;
    return self.needsRebuild || self.reductions.size() < level ? nullptr : self.reductions[level - 1].get();
}

const shr::CTypeInfo* ZMemBitmap::GetTypeId() const { return &ClassTypeId; }

ZMemBitmap::ZMemBitmap(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight)
    : ZBasicMemBitmap(width, height, format, tileWidth, tileHeight) {}

ZMemBitmap::ZMemBitmap(const ZMemBitmap& source) : ZBasicMemBitmap(source) { CopyPOTReductions(source); }

ZMemBitmap& ZMemBitmap::operator=(const ZMemBitmap& source) {
    if (this == &source) return *this;
    if (source.IsEmpty()) {
        ZBasicMemBitmap::operator=(source);
        CopyPOTReductions(source);
    } else {
        CopyAll(source);
    }
    return *this;
}

ZMemBitmap::ZMemBitmap(ZMemBitmap&& source) noexcept : ZBasicMemBitmap(std::move(source)) {
    MoveReductionsFrom(source);
}

ZMemBitmap& ZMemBitmap::operator=(ZMemBitmap&& source) noexcept {
    if (this == &source) return *this;
    ZBasicMemBitmap::operator=(std::move(source));
    MoveReductionsFrom(source);
    return *this;
}

void ZMemBitmap::MoveReductionsFrom(ZMemBitmap& source) noexcept {
    FreeAllPOTReductions();
    reductions.swap(source.reductions);
    needsRebuild = std::exchange(source.needsRebuild, true);
}

ZMemBitmap::~ZMemBitmap() { FreeAllPOTReductions(); }

void ZMemBitmap::Create(int width, int height, shr::ColorFormat format, int tileWidth, int tileHeight) {
    shr::ScopeExit markStale([this] { needsRebuild = true; });
    ZBasicMemBitmap::Create(width, height, format, tileWidth, tileHeight);
}

void ZMemBitmap::Create(const BITMAPINFO& dib, int tileWidth, int tileHeight) {
    shr::ScopeExit markStale([this] { needsRebuild = true; });
    ZBasicMemBitmap::Create(dib, tileWidth, tileHeight);
}

void ZMemBitmap::Create(const BITMAPINFOHEADER* header, const void* bits, const RGBQUAD* colors, int tileWidth,
                        int tileHeight) {
    shr::ScopeExit markStale([this] { needsRebuild = true; });
    ZBasicMemBitmap::Create(header, bits, colors, tileWidth, tileHeight);
}

void ZMemBitmap::Create(const ZBasicMemBitmap& source) {
    shr::ScopeExit markStale([this] { needsRebuild = true; });
    ZBasicMemBitmap::Create(source);
}

void ZMemBitmap::Create(const ZMemBitmap& source) {
    if (this != &source) CopyAll(source);
}

/// Whatever `create` makes of the bitmap, the source lives until it is done, even where it is one of the reductions,
/// which the first changed tile drops.
template <class CreateBase>
bool ZMemBitmap::CreateFrom(const ZBitmap& source, const CreateBase& create) {
    const auto isSource = [&](const auto& level) { return level.get() == &source; };
    std::vector<std::unique_ptr<ZBasicMemBitmap>> kept;
    if (std::any_of(reductions.begin(), reductions.end(), isSource)) kept.swap(reductions);
    shr::ScopeExit markStale([this] { needsRebuild = true; });
    const bool created = create();
    if (!created && kept.empty()) markStale.Release();
    return created;
}

bool ZMemBitmap::Create(ZBitmap& source, shr::IProgress* progress) {
    return CreateFrom(source, [&] { return ZBasicMemBitmap::Create(source, progress); });
}

bool ZMemBitmap::Create(shr::ColorFormat format, ZBitmap& source, shr::IProgress* progress) {
    return CreateFrom(source, [&] { return ZBasicMemBitmap::Create(format, source, progress); });
}

bool ZMemBitmap::Create(int width, int height, ZBitmap& source, RECT rect, ResizeMethod method,
                        shr::IProgress* progress) {
    return CreateFrom(source, [&] { return ZBasicMemBitmap::Create(width, height, source, rect, method, progress); });
}

void ZMemBitmap::CopyAll(const ZMemBitmap& source) {
    shr::ScopeExit leaveEmpty([this] {
        FreeAllPOTReductions();
        CreateCleanup();
    });
    ZBasicMemBitmap::CopyAll(source);
    CopyPOTReductions(source);
    leaveEmpty.Release();
}

/// The copied list counts as current even when the source's was stale.
void ZMemBitmap::CopyPOTReductions(const ZMemBitmap& source) {
    FreeAllPOTReductions();
    needsRebuild = false;
    for (const auto& level : source.reductions) reductions.push_back(std::make_unique<ZBasicMemBitmap>(*level));
}

void ZMemBitmap::ChangeFrom(ZMemBitmap& source) {
    if (this == &source) return;
    FreeAllPOTReductions();
    ZBasicMemBitmap::ChangeFrom(source);
    reductions.swap(source.reductions);
    needsRebuild = source.needsRebuild;
    source.needsRebuild = false;
}

void ZMemBitmap::FreeAllPOTReductions() noexcept { reductions.clear(); }

void ZMemBitmap::FillColorTable(const shr::Color4b* colors, unsigned count) {
    ZBasicMemBitmap::FillColorTable(colors, count);
    needsRebuild = true;
}

void ZMemBitmap::CommitScanRect(int, int) {
    if (needsRebuild) return;
    FreeAllPOTReductions();
    needsRebuild = true;
}

bool ZMemBitmap::CommitAll(shr::IProgress* progress) { return CreatePOTReductions(progress); }

bool ZMemBitmap::CommitAll(shr::IProgress* progress, bool rebuild) {
    if (rebuild) needsRebuild = true;
    return CreatePOTReductions(progress);
}

bool ZMemBitmap::CreatePOTReductions(shr::IProgress* progress) {
    if (!needsRebuild) return true;
    std::vector<std::unique_ptr<ZBasicMemBitmap>> former;  // whose memory the new ones may take
    former.swap(reductions);
    shr::ScopeExit dropLevels([this] { FreeAllPOTReductions(); });
    const bool done = BuildLevels(former, progress);
    dropLevels.Release();  // a build that was cancelled keeps the levels that it has
    if (done) needsRebuild = false;
    return done;
}

/// Each level is made from the one before. Those of an indexed image are in true colours, and so is what the first one
/// is made from.
bool ZMemBitmap::BuildLevels(std::vector<std::unique_ptr<ZBasicMemBitmap>>& former, shr::IProgress* progress) {
    ZBitmap* source = this;
    ZBasicMemBitmap trueColor(1, 1, shr::BGRA_32);
    if (IsReducedInTrueColors(*this)) {
        if (!trueColor.Create(shr::BGRA_32, *this, progress)) return true;  // cancelled: there is nothing to reduce
        source = &trueColor;
    }
    while (const std::optional<SIZE> size = ReducedSize(*source)) {
        const std::size_t number = reductions.size();
        auto level = number < former.size() ? std::move(former[number])
                                            : std::make_unique<ZBasicMemBitmap>(1, 1, shr::BGRA_32, 512, 512);
        const RECT whole{0, 0, source->GetPixelWidth(), source->GetPixelHeight()};
        if (!level->Create(static_cast<int>(size->cx), static_cast<int>(size->cy), *source, whole, ResizeBilinear,
                           progress))
            return false;
        reductions.push_back(std::move(level));
        source = reductions.back().get();
    }
    return true;
}

ZBitmap* ZMemBitmap::GetPtrToPOTReduction(unsigned level) {
    if (level == 0 || IsItsOwnReduction(*this)) return this;
    if (reductions.size() < level) return nullptr;
    return reductions[level - 1].get();
}

}  // namespace zbm
