#include "shr/TypeInfo.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <stdexcept>

namespace shr {
namespace {

class Shape : public CTypedObject {
public:
    const CTypeInfo* GetTypeId() const override { return &ClassTypeId; }
    static const CTypeInfo ClassTypeId;
};
const CTypeInfo Shape::ClassTypeId("Shape", nullptr, CTypedObject::GetClassTypeId());

/// Some class that comes first, so that the typed object is not at the start of a Circle.
struct Tag {
    virtual ~Tag() = default;
    int value = 7;
};

class Circle : public Tag, public Shape {
public:
    const CTypeInfo* GetTypeId() const override { return &ClassTypeId; }
    static void* CreateInstance() { return static_cast<CTypedObject*>(new Circle); }
    static const CTypeInfo ClassTypeId;
};
const CTypeInfo Circle::ClassTypeId("Circle", &Circle::CreateInstance, &Shape::ClassTypeId);

void* RefuseToCreate() { throw std::runtime_error("no"); }

TEST(CTypeInfo, TellsItsClassAndItsParent) {
    EXPECT_STREQ(Circle::ClassTypeId.GetName(), "Circle");
    EXPECT_EQ(Circle::ClassTypeId.GetParent(), &Shape::ClassTypeId);
    EXPECT_EQ(Shape::ClassTypeId.GetParent(), CTypedObject::GetClassTypeId());
    EXPECT_EQ(CTypedObject::GetClassTypeId()->GetParent(), nullptr);
    EXPECT_FALSE(Circle::ClassTypeId.IsAbstract());
    EXPECT_TRUE(Shape::ClassTypeId.IsAbstract());
    EXPECT_TRUE(CTypedObject::GetClassTypeId()->IsAbstract());
}

TEST(CTypeInfo, IsKindOfItselfAndItsAncestorsOnly) {
    EXPECT_TRUE(Circle::ClassTypeId.IsKindOf(Circle::ClassTypeId));
    EXPECT_TRUE(Circle::ClassTypeId.IsKindOf(Shape::ClassTypeId));
    EXPECT_TRUE(Circle::ClassTypeId.IsKindOf(CTypedObject::ClassTypeId));
    EXPECT_FALSE(Shape::ClassTypeId.IsKindOf(Circle::ClassTypeId));
    const Circle circle;
    EXPECT_TRUE(circle.IsKindOf(Shape::ClassTypeId));
    EXPECT_EQ(circle.GetTypeId(), &Circle::ClassTypeId);
}

TEST(CTypeInfo, CreatesObjectsByTheNameOfTheirClass) {
    const std::unique_ptr<CTypedObject> object(CTypeInfo::CreateObject(L"Circle"));
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->GetTypeId(), &Circle::ClassTypeId);
    ASSERT_NE(dynamic_cast<Circle*>(object.get()), nullptr);
    EXPECT_EQ(dynamic_cast<Circle*>(object.get())->value, 7);
}

TEST(CTypeInfo, CreatesNothingForAbstractAndUnknownClasses) {
    EXPECT_EQ(CTypeInfo::CreateObject(L"Shape"), nullptr);
    EXPECT_EQ(Shape::ClassTypeId.CreateObject(), nullptr);
    EXPECT_EQ(CTypeInfo::CreateObject(L"Hexagon"), nullptr);
}

TEST(CTypeInfo, MatchesNamesExactly) {
    EXPECT_EQ(CTypeInfo::Find(L"Circle"), &Circle::ClassTypeId);
    EXPECT_EQ(CTypeInfo::Find(L"CTypedObject"), CTypedObject::GetClassTypeId());
    for (const wchar_t* name : {L"", L"circle", L"Circl", L"Circles", L" Circle"})
        EXPECT_EQ(CTypeInfo::Find(name), nullptr) << ZString(name).ToUtf8();
    EXPECT_EQ(CTypeInfo::Find(ZString(std::wstring_view(L"Circle\0", 7))), nullptr);
}

TEST(CTypeInfo, FindsNamesBeyondAscii) {
    const CTypeInfo record(
        "Gr\xC3\xB6\xC3\x9F"
        "e",
        nullptr, nullptr);
    EXPECT_EQ(CTypeInfo::Find(L"Gr\u00F6\u00DFe"), &record);
}

TEST(CTypeInfo, PassesOnWhatTheFactoryThrows) {
    const CTypeInfo record("Refusing", &RefuseToCreate, nullptr);
    EXPECT_THROW(CTypeInfo::CreateObject(L"Refusing"), std::runtime_error);
}

TEST(CTypeInfo, LeavesTheRegistryInAnyOrder) {
    std::optional<CTypeInfo> first, second, third;
    first.emplace("First", nullptr, nullptr);
    second.emplace("Second", nullptr, nullptr);
    third.emplace("Third", nullptr, nullptr);
    second.reset();
    EXPECT_EQ(CTypeInfo::Find(L"Second"), nullptr);
    EXPECT_EQ(CTypeInfo::Find(L"First"), &*first);
    EXPECT_EQ(CTypeInfo::Find(L"Third"), &*third);
    third.reset();
    EXPECT_EQ(CTypeInfo::Find(L"Third"), nullptr);
    EXPECT_EQ(CTypeInfo::Find(L"First"), &*first);
    first.reset();
    EXPECT_EQ(CTypeInfo::Find(L"First"), nullptr);
    EXPECT_EQ(CTypeInfo::Find(L"Circle"), &Circle::ClassTypeId);
}

TEST(CTypeInfo, GivesWayToALaterRecordOfTheSameName) {
    {
        const CTypeInfo later("Circle", nullptr, nullptr);
        EXPECT_EQ(CTypeInfo::Find(L"Circle"), &later);
    }
    EXPECT_EQ(CTypeInfo::Find(L"Circle"), &Circle::ClassTypeId);
}

TEST(CTypedObject, HoldsNothingButItsVirtualTable) { EXPECT_EQ(sizeof(CTypedObject), sizeof(void*)); }

}  // namespace
}  // namespace shr
