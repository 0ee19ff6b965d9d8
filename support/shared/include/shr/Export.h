#pragma once
// SHR_API marks what this library offers to others; everything else stays hidden inside it, SHR_LOCAL what lies within
// a class that it offers. Programs that link the static libraries define ZBM_STATIC.
#if defined(ZBM_STATIC)
#define SHR_API
#elif defined(_WIN32)
#if defined(SHR_EXPORTS)
#define SHR_API __declspec(dllexport)
#else
#define SHR_API __declspec(dllimport)
#endif
#else
#define SHR_API __attribute__((visibility("default")))
#endif
#if defined(_WIN32)
#define SHR_LOCAL
#else
#define SHR_LOCAL __attribute__((visibility("hidden")))
#endif
