#pragma once
// GDI_API marks what this library offers to others; everything else stays hidden inside it. Windows has an interface of
// its own, so there is no such library there.
#if defined(ZBM_STATIC)
#define GDI_API
#else
#define GDI_API __attribute__((visibility("default")))
#endif
