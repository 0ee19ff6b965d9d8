#pragma once
// ZBM_API marks what this library offers to others; everything else stays hidden inside it, ZBM_LOCAL what lies within
// a class that it offers. Programs that link the static libraries define ZBM_STATIC.
#if defined(ZBM_STATIC)
#define ZBM_API
#elif defined(_WIN32)
#if defined(ZBM_EXPORTS)
#define ZBM_API __declspec(dllexport)
#else
#define ZBM_API __declspec(dllimport)
#endif
#else
#define ZBM_API __attribute__((visibility("default")))
#endif
#if defined(_WIN32)
#define ZBM_LOCAL
#else
#define ZBM_LOCAL __attribute__((visibility("hidden")))
#endif
