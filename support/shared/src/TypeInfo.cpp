#include "shr/TypeInfo.h"

#include <cstring>

#include "Utf8.h"

namespace shr {
namespace {

// Set before any constructor runs and never destroyed, so records of any module can come and go at any time.
constinit const CTypeInfo* firstRecord = nullptr;

/// Compares without making a text, which could fail. Class names, being identifiers, need no surrogate pairs.
bool IsSameName(const std::wstring& wide, const char* utf8) noexcept {
    std::size_t left = std::strlen(utf8);
    for (const wchar_t unit : wide) {
        if (left == 0) return false;
        const DecodedUtf8 decoded = DecodeUtf8(utf8, left);
        if (decoded.codePoint != static_cast<char32_t>(unit)) return false;
        utf8 += decoded.byteCount;
        left -= decoded.byteCount;
    }
    return left == 0;
}

}  // namespace

CTypeInfo::CTypeInfo(const char* name, Factory create, const CTypeInfo* base) noexcept
    : className(name), factory(create), parent(base), next(firstRecord) {
    firstRecord = this;
}

CTypeInfo::~CTypeInfo() {
    if (firstRecord == this) {
        firstRecord = next;
        return;
    }
    for (const CTypeInfo* record = firstRecord; record != nullptr; record = record->next) {
        if (record->next != this) continue;
        record->next = next;
        return;
    }
}

bool CTypeInfo::IsKindOf(const CTypeInfo& other) const noexcept {
    for (const CTypeInfo* type = this; type != nullptr; type = type->parent)
        if (type == &other) return true;
    return false;
}

CTypedObject* CTypeInfo::CreateObject() const {
    return factory == nullptr ? nullptr : static_cast<CTypedObject*>(factory());
}

const CTypeInfo* CTypeInfo::Find(const ZString& name) noexcept {
    for (const CTypeInfo* record = firstRecord; record != nullptr; record = record->next)
        if (IsSameName(name.Wide(), record->className)) return record;
    return nullptr;
}

CTypedObject* CTypeInfo::CreateObject(const ZString& name) {
    const CTypeInfo* type = Find(name);
    return type == nullptr ? nullptr : type->CreateObject();
}

const CTypeInfo CTypedObject::ClassTypeId("CTypedObject", nullptr, nullptr);

CTypedObject::~CTypedObject() = default;

const CTypeInfo* CTypedObject::GetTypeId() const { return &ClassTypeId; }

}  // namespace shr
