// The order of the virtual operations, which applications are compiled against. Read off pointers to members, which
// hold the place in the table in the C++ ABI of GCC and Clang (one more than its offset in bytes; on Arm its offset,
// and the adjustment says that it is one). There the destructor takes two entries; so what is number n in the order of
// declaration is entry n + 1.
#include <gtest/gtest.h>

#include <cstring>

#include "shr/ISerialize.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/ZCachedBitmap.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace {

template <class Member>
int EntryOf(Member member) {
    struct {
        std::ptrdiff_t place, adjustment;
    } image;
    static_assert(sizeof image == sizeof member);
    std::memcpy(&image, &member, sizeof image);
#if defined(__aarch64__)
    EXPECT_EQ(image.adjustment % 2, 1) << "not virtual";
#else
    EXPECT_EQ(image.place % 2, 1) << "not virtual";
#endif
    return static_cast<int>(image.place / static_cast<std::ptrdiff_t>(sizeof(void*)));
}

/// Number in the order of the virtual operations, the destructor being 0.
template <class Member>
int SlotOf(Member member) {
    return EntryOf(member) - 1;
}

/// Names the protected operation, and adds a virtual one after all others.
struct BitmapProbe : zbm::ZBitmap {
    static int FormatInfoSlot() { return SlotOf(&BitmapProbe::SerializeFormatInfo); }
    virtual void Next() {}
};
struct BasicMemBitmapProbe : zbm::ZBasicMemBitmap {
    using ZBasicMemBitmap::ZBasicMemBitmap;
    virtual void Next() {}
};
struct MemBitmapProbe : zbm::ZMemBitmap {
    using ZMemBitmap::ZMemBitmap;
    virtual void Next() {}
};
/// Reductions add no operation either; so both classes of files end where their base does.
template <class Base>
struct FileBitmapProbe : Base {
    using Base::Base, Base::ReadScanRect, Base::WriteScanRect, Base::CreateSkeleton;
    virtual void Next() {}
};
struct TypedObjectProbe : shr::CTypedObject {
    virtual void Next() {}
};

using zbm::ZBitmap;

TEST(VirtualTable, OfABitmap) {
    using shr::CDib;
    using shr::IProgress;
    EXPECT_EQ(SlotOf(&ZBitmap::GetTypeId), 1);
    EXPECT_EQ(SlotOf(&ZBitmap::FillColorTable), 2);
    EXPECT_EQ(SlotOf(&ZBitmap::SetXResolution), 3);
    EXPECT_EQ(SlotOf(&ZBitmap::SetYResolution), 4);
    EXPECT_EQ(SlotOf<void (ZBitmap::*)(CDib&, const RECT&) const>(&ZBitmap::FetchDib), 5);
    EXPECT_EQ(SlotOf<void (ZBitmap::*)(CDib&, int, int, int, int) const>(&ZBitmap::FetchDib), 6);
    EXPECT_EQ(SlotOf<void (ZBitmap::*)(unsigned char*, int, const RECT&) const>(&ZBitmap::FetchRegion), 7);
    EXPECT_EQ(SlotOf<void (ZBitmap::*)(unsigned char*, int, int, int, int, int) const>(&ZBitmap::FetchRegion), 8);
    EXPECT_EQ(SlotOf<void (ZBitmap::*)(const unsigned char*, int, const RECT&)>(&ZBitmap::StoreRegion), 9);
    EXPECT_EQ(SlotOf<void (ZBitmap::*)(const unsigned char*, int, int, int, int, int)>(&ZBitmap::StoreRegion), 10);
    EXPECT_EQ(SlotOf(&ZBitmap::LockScanRect), 11);
    EXPECT_EQ(SlotOf(&ZBitmap::UnlockScanRect), 12);
    EXPECT_EQ(SlotOf(&ZBitmap::CommitScanRect), 13);
    EXPECT_EQ(SlotOf<bool (ZBitmap::*)(IProgress*)>(&ZBitmap::CommitAll), 14);
    EXPECT_EQ(SlotOf<ZBitmap* (ZBitmap::*)(unsigned)>(&ZBitmap::GetPtrToPOTReduction), 15);
    EXPECT_EQ(SlotOf(&ZBitmap::Serialize), 16);
    EXPECT_EQ(SlotOf(&ZBitmap::GetAlphaFromMask), 17);
    EXPECT_EQ(SlotOf(&ZBitmap::SetMaskFromAlpha), 18);
    EXPECT_EQ(SlotOf(&ZBitmap::FilterScanLines), 19);
    EXPECT_EQ(BitmapProbe::FormatInfoSlot(), 20);
}

TEST(VirtualTable, EndsForAllBitmapsInMemoryWhereItEndsForABitmap) {
    EXPECT_EQ(SlotOf(&BitmapProbe::Next), 21);
    EXPECT_EQ(SlotOf(&BasicMemBitmapProbe::Next), 21);
    EXPECT_EQ(SlotOf(&MemBitmapProbe::Next), 21);
}

TEST(VirtualTable, OfABitmapInAFileGoesOn) {
    using shr::IProgress, shr::ZString;
    using Probe = FileBitmapProbe<zbm::ZScanRectFileBitmap>;
    using zbm::ZFileBitmap;
    EXPECT_EQ(SlotOf(&ZFileBitmap::Open), 21);
    EXPECT_EQ(
        SlotOf<bool (ZFileBitmap::*)(const ZString&, int, int, ZBitmap&, const RECT&, zbm::ResizeMethod, IProgress*)>(
            &ZFileBitmap::Create),
        22);
    EXPECT_EQ(SlotOf<bool (ZFileBitmap::*)(const ZString&, ZBitmap&, IProgress*)>(&ZFileBitmap::Create), 23);
    EXPECT_EQ(
        SlotOf<bool (ZFileBitmap::*)(const ZString&, const BITMAPINFOHEADER*, const void*, const RGBQUAD*, IProgress*)>(
            &ZFileBitmap::Create),
        24);
    EXPECT_EQ(SlotOf<bool (ZFileBitmap::*)(const ZString&, const BITMAPINFO&, IProgress*)>(&ZFileBitmap::Create), 25);
    EXPECT_EQ(
        SlotOf<bool (ZFileBitmap::*)(const ZString&, int, int, shr::ColorFormat, IProgress*)>(&ZFileBitmap::Create),
        26);
    EXPECT_EQ(SlotOf(&ZFileBitmap::Close), 27);
    EXPECT_EQ(SlotOf<bool (ZFileBitmap::*)(zbm::SerializeIO&, IProgress*, gcs::GCSDef*)>(&ZFileBitmap::Serialize), 28);
    EXPECT_EQ(SlotOf(&Probe::ReadScanRect), 29);
    EXPECT_EQ(SlotOf(&Probe::WriteScanRect), 30);
    EXPECT_EQ(SlotOf(&Probe::CreateSkeleton), 31);
    EXPECT_EQ(SlotOf(&Probe::Next), 32);
    EXPECT_EQ(SlotOf(&FileBitmapProbe<zbm::ZPOTCFileBitmap>::Next), 32);
    EXPECT_EQ(SlotOf(&FileBitmapProbe<zbm::ZCachedBitmap>::Next), 32);
}

TEST(VirtualTable, OfAStoreHoldsFillColorTableAlone) { EXPECT_EQ(EntryOf(&zbm::ZBitmapCFileStore::FillColorTable), 0); }

TEST(VirtualTable, OfATypedObjectHoldsTheDestructorAndGetTypeId) {
    EXPECT_EQ(SlotOf(&shr::CTypedObject::GetTypeId), 1);
    EXPECT_EQ(SlotOf(&TypedObjectProbe::Next), 2);
}

TEST(VirtualTable, OfAnArchiveBeginsWithItsThreeOperations) {
    EXPECT_EQ(EntryOf(&shr::ISerialize::IsStoring), 0);
    EXPECT_EQ(EntryOf(&shr::ISerialize::Read), 1);
    EXPECT_EQ(EntryOf(&shr::ISerialize::Write), 2);
}

TEST(VirtualTable, OfTheLegacySerializerBeginsWithItsOperation) {
    EXPECT_EQ(EntryOf(&zbm::ISerializeLegacyGCS::SerializeGCS), 0);
}

}  // namespace
