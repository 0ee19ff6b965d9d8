// A program that makes a bitmap by the name of its class, as one does that loads documents: nothing here refers to the
// class itself.
#include <memory>

#include "shr/TypeInfo.h"
#include "zbm/ZBitmap.h"

int main() {
    const std::unique_ptr<shr::CTypedObject> object(shr::CTypeInfo::CreateObject("ZMemBitmap"));
    return object && object->IsKindOf(zbm::ZBitmap::ClassTypeId) ? 0 : 1;
}
