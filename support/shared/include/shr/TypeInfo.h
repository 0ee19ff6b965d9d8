#pragma once
#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

class CTypedObject;

/// The run-time record of a class: its name, its factory and its parent's record. One static object a class.
///
/// Records enter a process-wide registry when their module loads and leave it when it unloads; registering allocates
/// nothing. Not for use from several threads while modules load or unload.
class SHR_API CTypeInfo {
public:
    /// Makes a new object of the class with default values and returns the address of its CTypedObject part, owned by
    /// the caller.
    using Factory = void* (*)();

    /// `className` and `parent` are kept, not copied; `factory` is null for an abstract class, `parent` for the root.
    CTypeInfo(const char* className, Factory factory, const CTypeInfo* parent) noexcept;
    ~CTypeInfo();
    CTypeInfo(const CTypeInfo&) = delete;
    CTypeInfo& operator=(const CTypeInfo&) = delete;

    /// The class's name. (Not GetClassName: <windows.h> has a macro of that name.)
    const char* GetName() const noexcept { return className; }
    const CTypeInfo* GetParent() const noexcept { return parent; }
    bool IsAbstract() const noexcept { return factory == nullptr; }
    /// Whether this is `other` or derives from it.
    bool IsKindOf(const CTypeInfo& other) const noexcept;

    /// A new object, owned by the caller; null if the class is abstract. Raises what the constructor raises.
    CTypedObject* CreateObject() const;

    /// The record of that class name, or null. Names are matched exactly; the record registered last wins.
    static const CTypeInfo* Find(const ZString& className) noexcept;
    /// A new object of the class of that name, owned by the caller; null if there is none or it is abstract.
    static CTypedObject* CreateObject(const ZString& className);

private:
    const char* className;
    Factory factory;
    const CTypeInfo* parent;
    mutable const CTypeInfo* next;  // the registry is a list through the records, which are constants otherwise
};

/// The root of all classes with a run-time record. Its virtual table holds the destructor and GetTypeId, no more.
class SHR_API CTypedObject {
public:
    virtual ~CTypedObject();
    virtual const CTypeInfo* GetTypeId() const;

    static const CTypeInfo* GetClassTypeId() noexcept { return &ClassTypeId; }
    static const CTypeInfo ClassTypeId;

    /// Whether the object's class is `type` or derives from it.
    bool IsKindOf(const CTypeInfo& type) const { return GetTypeId()->IsKindOf(type); }

protected:
    CTypedObject() = default;
    CTypedObject(const CTypedObject&) = default;
    CTypedObject& operator=(const CTypedObject&) = default;
};

}  // namespace shr
