#pragma once
// ZBM_API marks what this library offers to others; everything else stays hidden inside it.
#if defined(_WIN32)
#if defined(ZBM_EXPORTS)
#define ZBM_API __declspec(dllexport)
#else
#define ZBM_API __declspec(dllimport)
#endif
#else
#define ZBM_API __attribute__((visibility("default")))
#endif
