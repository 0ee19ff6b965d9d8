#pragma once
// A bitmap of any class beside the model of what it must hold.
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "file/ModelPicture.h"
#include "file/OpenFileBitmaps.h"
#include "shr/Path.h"
#include "zbm/ZCachedBitmap.h"
#include "zbm/ZMemBitmap.h"

namespace testkit {

/// What is found to be otherwise than the model has it.
struct Mismatch : std::runtime_error {
    using runtime_error::runtime_error;
};

inline void Demand(bool holds, const std::string& text) {
    if (!holds) throw Mismatch(text);
}
inline void Demand(const testing::AssertionResult& result, const std::string& text) {
    if (!result) throw Mismatch(text + ": " + result.message());
}

/// Each concrete class, and in both families one that a host derived, whose tiles are reached by locks alone.
enum class Kind { basic, hostsOwn, withReductions, onFile, hostsOwnFile, cached, level, faulty };
constexpr int kKinds = 7;  // the last is for a test of the test

inline const char* NameOf(Kind kind) {
    constexpr const char* kNames[] = {"ZBasicMemBitmap",     "a ZBasicMemBitmap of a host's",     "ZMemBitmap",
                                      "ZScanRectFileBitmap", "a ZScanRectFileBitmap of a host's", "ZCachedBitmap",
                                      "ZPOTCFileBitmap",     "a ZBasicMemBitmap that fails"};
    return kNames[static_cast<int>(kind)];
}

/// Bitmaps whose records in archives are one.
enum class RecordKind { memory, memoryWithReductions, file, level };

inline RecordKind RecordOf(Kind kind) {
    switch (kind) {
        case Kind::withReductions: return RecordKind::memoryWithReductions;
        case Kind::onFile:
        case Kind::hostsOwnFile:
        case Kind::cached: return RecordKind::file;
        case Kind::level: return RecordKind::level;
        default: return RecordKind::memory;
    }
}

/// Loses a pixel with every mask that it is given.
class FaultyBitmap : public zbm::ZBasicMemBitmap {
public:
    using ZBasicMemBitmap::ZBasicMemBitmap;
    void SetMaskFromAlpha(unsigned char* src, int srcStride, const RECT& rect) override {
        ZBasicMemBitmap::SetMaskFromAlpha(src, srcStride, rect);
        LockScanRect(0, 0).GetRowPtr(0)[0] ^= 0x80;
    }
};

/// Whether reductions are known to be old, which the classes keep to themselves.
struct Staleness : zbm::ZMemBitmap {
    static bool Of(const zbm::ZMemBitmap& bitmap) { return bitmap.*(&Staleness::needsRebuild); }
};
struct StalenessInFile : zbm::ZScanRectFileBitmap {
    static bool Of(const zbm::ZScanRectFileBitmap& bitmap) { return bitmap.*(&StalenessInFile::reductionsStale); }
};

/// A picture, and reductions of it or of one before it.
struct Held {
    ModelPicture picture;
    std::vector<ModelPicture> levels{};
    bool stale = true;
    bool levelsKnown = true;  ///< not where cancelling left some of them between old and new
};

enum class State {
    picture,
    none,         ///< empty in memory, closed in a file
    withoutTile,  ///< what a picture was taken from: one pixel, of which the tile is missing
};

class Subject {
public:
    Subject(Kind newKind, const shr::ZString& fileName) : kind(newKind), name(fileName), bitmap(MakeObject()) {}
    Subject(const Subject&) = delete;
    Subject& operator=(const Subject&) = delete;

    bool IsInMemory() const { return Memory() != nullptr; }
    bool HasPicture() const { return state == State::picture; }
    Family GetFamily() const { return IsInMemory() ? Family::inMemory : Family::inFile; }
    bool KeepsReductions() const { return Reduced() != nullptr || File() != nullptr; }

    bool IsStale() const {
        return File() != nullptr ? StalenessInFile::Of(*File()) : Reduced() != nullptr && Staleness::Of(*Reduced());
    }

    zbm::ZBasicMemBitmap* Memory() const { return dynamic_cast<zbm::ZBasicMemBitmap*>(bitmap.get()); }
    zbm::ZMemBitmap* Reduced() const { return dynamic_cast<zbm::ZMemBitmap*>(bitmap.get()); }
    zbm::ZScanRectFileBitmap* File() const { return dynamic_cast<zbm::ZScanRectFileBitmap*>(bitmap.get()); }
    zbm::ZCachedBitmap* Cached() const { return dynamic_cast<zbm::ZCachedBitmap*>(bitmap.get()); }
    zbm::ZPOTCFileBitmap* Level() const { return dynamic_cast<zbm::ZPOTCFileBitmap*>(bitmap.get()); }

    /// Of another file each time: one may have been taken over by another bitmap.
    shr::ZString NewName() { return shr::ZString(name.Wide() + std::to_wstring(++names)); }

    /// A level of its own in a new host file, still to be made.
    void BecomeNewLevel(int offset) {
        bitmap.reset();
        host = std::make_unique<shr::CBufferedFile>();
        host->Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
        hostOffset = offset;
        bitmap = std::make_unique<zbm::ZPOTCFileBitmap>(name, *host, offset, false, false);
        BecomeNone();
    }
    void OpenLevelAgain() {
        bitmap.reset();
        bitmap = std::make_unique<zbm::ZPOTCFileBitmap>(name, *host, hostOffset, true, false);
    }

    // ---- What becomes of the model.

    void Become(ModelPicture picture) {
        state = State::picture;
        readOnly = false;
        held.picture = std::move(picture);
        onDisk.reset();
        if (IsInMemory()) return;  // old levels stay until they are built anew
        held.levels.clear();
        held.levelsKnown = true;
        held.stale = true;
    }
    void BecomeNone() {
        state = State::none;
        readOnly = false;
        held.levelsKnown = held.levelsKnown && !IsInMemory();
        if (!IsInMemory()) held.levels.clear();
        onDisk.reset();
    }
    /// A tile was committed.
    void TilesChanged() {
        if (Reduced() != nullptr && !held.stale) held.levels.clear();
        held.stale = true;
    }
    void ColorsChanged() { held.stale = true; }

    /// Whether the bitmap is what the model says.
    void Verify() const {
        const std::string who = NameOf(kind);
        if (state == State::none) return VerifyNone(who);
        if (state == State::withoutTile)
            return Demand(bitmap->GetPixelWidth() == 1 && bitmap->GetColorFormat() == shr::BGRA_32,
                          who + ": one pixel");
        Demand(AreAlike(Found(*bitmap), held.picture), who);
        VerifyLevels(who);
    }

    const Kind kind;
    const shr::ZString name;
    std::unique_ptr<shr::CBufferedFile> host;  ///< of a level
    std::int64_t hostOffset = 0;
    std::unique_ptr<zbm::ZBitmap> bitmap;

    State state = State::none;
    Held held{NewModel(1, 1, shr::BGRA_32)};
    bool readOnly = false;
    std::optional<Held> onDisk;  ///< of a bitmap that was closed

private:
    int names = 0;

    std::unique_ptr<zbm::ZBitmap> MakeObject() {
        switch (kind) {
            case Kind::basic: return std::make_unique<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
            case Kind::hostsOwn: return std::make_unique<DerivedBitmap>(1, 1, shr::BGRA_32);
            case Kind::withReductions: return std::make_unique<zbm::ZMemBitmap>(1, 1, shr::BGRA_32);
            case Kind::onFile: return std::make_unique<zbm::ZScanRectFileBitmap>(L"", L"", false);
            case Kind::hostsOwnFile: return std::make_unique<OpenFileBitmap>();
            case Kind::cached: return std::make_unique<zbm::ZCachedBitmap>(L"", L"", false);
            case Kind::faulty: return std::make_unique<FaultyBitmap>(1, 1, shr::BGRA_32);
            case Kind::level: break;
        }
        host = std::make_unique<shr::CBufferedFile>();
        host->Open(name, shr::FileAccess::readWrite, shr::FileMode::create, shr::FileSharing::none);
        return std::make_unique<zbm::ZPOTCFileBitmap>(name, *host, 0, false, false);
    }

    void VerifyNone(const std::string& who) const {
        if (IsInMemory()) return Demand(bitmap->IsEmpty() && bitmap->GetNumScanRectRows() == 0, who + " is empty");
        Demand(bitmap->GetPixelWidth() == 0 && bitmap->GetPixelHeight() == 0, who + " is 0 x 0");
        if (File() == nullptr) return;
        Demand(!File()->IsFileOpen(), who + " is closed");
        Demand(bitmap->GetColorFormat() == shr::BGRA_32, who + " is of BGRA_32");
    }

    void VerifyLevels(const std::string& who) const {
        if (Level() != nullptr) return;
        if (!KeepsReductions()) return Demand(bitmap->GetPtrToPOTReduction(1) == nullptr, who + " has no reductions");
        Demand(bitmap->GetPtrToPOTReduction(0) == bitmap.get(), who + " is its own level 0");
        if (!held.levelsKnown) return;
        Demand(IsStale() == held.stale, who + (held.stale ? " is to be reduced anew" : " has current reductions"));
        const bool isItsOwn = std::min(bitmap->GetPixelWidth(), bitmap->GetPixelHeight()) < 16;
        if (isItsOwn) return Demand(bitmap->GetPtrToPOTReduction(3) == bitmap.get(), who + " is its own level 3");
        for (std::size_t i = 0; i < held.levels.size(); ++i) {
            const zbm::ZBitmap* level = bitmap->GetPtrToPOTReduction(static_cast<unsigned>(i) + 1);
            const std::string which = who + ", level " + std::to_string(i + 1);
            Demand(level != nullptr, which + " is there");
            Demand(AreAlike(Found(*level), held.levels[i]), which);
        }
        Demand(bitmap->GetPtrToPOTReduction(static_cast<unsigned>(held.levels.size()) + 1) == nullptr,
               who + " has " + std::to_string(held.levels.size()) + " reductions");
    }
};

}  // namespace testkit
