// The run-time records of the classes, and what a host may rely on when it compiles against them.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <type_traits>

#include "shr/TypeInfo.h"
#include "zbm/ISerializeLegacyGCS.h"
#include "zbm/SerializeIO.h"
#include "zbm/ZBMLib2.h"
#include "zbm/ZCachedBitmap.h"
#include "zbm/ZMemBitmap.h"
#include "zbm/ZPOTCFileBitmap.h"
#include "zbm/ZScanRectFileBitmap.h"

namespace {

using shr::CTypedObject;
using shr::CTypeInfo;
using zbm::ZBasicMemBitmap;
using zbm::ZBitmap;
using zbm::ZMemBitmap;
using zbm::ZScanRect;

template <class Base, class Derived>
constexpr bool kDirectBase = std::is_base_of_v<Base, Derived>&& std::is_convertible_v<Derived*, Base*>;

static_assert(kDirectBase<CTypedObject, ZBitmap> && std::is_abstract_v<ZBitmap>);
static_assert(kDirectBase<ZBitmap, ZBasicMemBitmap> && !std::is_abstract_v<ZBasicMemBitmap>);
static_assert(kDirectBase<ZBasicMemBitmap, ZMemBitmap> && !std::is_abstract_v<ZMemBitmap>);

static_assert(!std::is_polymorphic_v<ZScanRect> && !std::is_polymorphic_v<zbm::SerializeIO>);
static_assert(!std::is_copy_constructible_v<zbm::SerializeIO> && !std::is_copy_assignable_v<zbm::SerializeIO>);
static_assert(std::is_copy_constructible_v<ZScanRect> && std::is_copy_assignable_v<ZScanRect>);
static_assert(!std::is_default_constructible_v<ZBasicMemBitmap>);

static_assert(std::is_nothrow_destructible_v<ZScanRect> && std::is_nothrow_destructible_v<ZBasicMemBitmap> &&
              std::is_nothrow_destructible_v<ZMemBitmap> && std::is_nothrow_destructible_v<zbm::SerializeIO>);

TEST(TypeRecords, NameTheClassesAndTheirParents) {
    EXPECT_STREQ(ZBitmap::ClassTypeId.GetName(), "ZBitmap");
    EXPECT_STREQ(ZBasicMemBitmap::ClassTypeId.GetName(), "ZBasicMemBitmap");
    EXPECT_STREQ(ZMemBitmap::ClassTypeId.GetName(), "ZMemBitmap");
    EXPECT_EQ(ZBitmap::ClassTypeId.GetParent(), &CTypedObject::ClassTypeId);
    EXPECT_EQ(ZBasicMemBitmap::ClassTypeId.GetParent(), &ZBitmap::ClassTypeId);
    EXPECT_EQ(ZMemBitmap::ClassTypeId.GetParent(), &ZBasicMemBitmap::ClassTypeId);
}

TEST(TypeRecords, OfBitmapsInFilesAreThreeInARow) {
    using zbm::ZCachedBitmap, zbm::ZFileBitmap, zbm::ZScanRectFileBitmap;
    EXPECT_STREQ(ZCachedBitmap::ClassTypeId.GetName(), "ZCachedBitmap");
    EXPECT_EQ(ZCachedBitmap::ClassTypeId.GetParent(), &ZScanRectFileBitmap::ClassTypeId);
    EXPECT_STREQ(ZFileBitmap::ClassTypeId.GetName(), "ZFileBitmap");
    EXPECT_STREQ(ZScanRectFileBitmap::ClassTypeId.GetName(), "ZScanRectFileBitmap");
    EXPECT_EQ(ZFileBitmap::ClassTypeId.GetParent(), &ZBitmap::ClassTypeId);
    EXPECT_EQ(ZScanRectFileBitmap::ClassTypeId.GetParent(), &ZFileBitmap::ClassTypeId);
    EXPECT_TRUE(ZFileBitmap::ClassTypeId.IsAbstract());
    static_assert(std::is_same_v<decltype(zbm::ZPOTCFileBitmap::ClassTypeId), const CTypeInfo>);
    EXPECT_EQ(&zbm::ZPOTCFileBitmap::ClassTypeId, &ZFileBitmap::ClassTypeId) << "a reduction has no record of its own";
}

TEST(TypeRecords, MakeAClosedBitmapOnFileByName) {
    const std::unique_ptr<CTypedObject> object(CTypeInfo::CreateObject("ZScanRectFileBitmap"));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->GetTypeId(), &zbm::ZScanRectFileBitmap::ClassTypeId);
    const auto* bitmap = dynamic_cast<zbm::ZScanRectFileBitmap*>(object.get());
    ASSERT_NE(bitmap, nullptr);
    EXPECT_FALSE(bitmap->IsFileOpen());
    EXPECT_TRUE(bitmap->GetFileName().IsEmpty());
}

TEST(TypeRecords, HaveAFactoryUnlessTheClassIsAbstract) {
    EXPECT_TRUE(ZBitmap::ClassTypeId.IsAbstract());
    EXPECT_EQ(ZBitmap::ClassTypeId.CreateObject(), nullptr);
    EXPECT_FALSE(ZBasicMemBitmap::ClassTypeId.IsAbstract());
    EXPECT_FALSE(ZMemBitmap::ClassTypeId.IsAbstract());
}

TEST(TypeRecords, AreReachedThroughTheClassAndTheObject) {
    EXPECT_EQ(ZBitmap::GetClassTypeId(), &ZBitmap::ClassTypeId);
    EXPECT_EQ(ZBasicMemBitmap::GetClassTypeId(), &ZBasicMemBitmap::ClassTypeId);
    EXPECT_EQ(ZMemBitmap::GetClassTypeId(), &ZMemBitmap::ClassTypeId);
    const ZBasicMemBitmap basic(1, 1, shr::BGRA_32);
    const ZMemBitmap withReductions(1, 1, shr::BGRA_32);
    const ZBitmap *first = &basic, *second = &withReductions;
    EXPECT_EQ(first->GetTypeId(), &ZBasicMemBitmap::ClassTypeId);
    EXPECT_EQ(second->GetTypeId(), &ZMemBitmap::ClassTypeId);
    EXPECT_TRUE(second->IsKindOf(ZBitmap::ClassTypeId));
    EXPECT_FALSE(first->IsKindOf(ZMemBitmap::ClassTypeId));
}

TEST(TypeRecords, MakeOnePixelBitmapsByName) {
    for (const char* name : {"ZBasicMemBitmap", "ZMemBitmap"}) {
        const std::unique_ptr<CTypedObject> object(CTypeInfo::CreateObject(name));
        ASSERT_NE(object, nullptr) << name;
        EXPECT_STREQ(object->GetTypeId()->GetName(), name);
        const auto* bitmap = dynamic_cast<ZBasicMemBitmap*>(object.get());
        ASSERT_NE(bitmap, nullptr);
        EXPECT_EQ(bitmap->GetPixelWidth(), 1);
        EXPECT_EQ(bitmap->GetPixelHeight(), 1);
        EXPECT_EQ(bitmap->GetColorFormat(), shr::BGRA_32);
        EXPECT_EQ(bitmap->GetScanRectWidth(), 512);
        EXPECT_EQ(bitmap->GetScanRectHeight(), 512);
        EXPECT_NO_THROW(bitmap->LockScanRect(0, 0));
    }
    EXPECT_EQ(CTypeInfo::CreateObject(L"ZBitmap"), nullptr);
}

}  // namespace
