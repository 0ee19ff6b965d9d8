#pragma once
// ZCDL_API marks what this library offers to others; everything else stays hidden inside it, ZCDL_LOCAL what lies
// within a class that it offers. Programs that link the static libraries define ZBM_STATIC.
#if defined(ZBM_STATIC)
#define ZCDL_API
#elif defined(_WIN32)
#if defined(ZCDL_EXPORTS)
#define ZCDL_API __declspec(dllexport)
#else
#define ZCDL_API __declspec(dllimport)
#endif
#else
#define ZCDL_API __attribute__((visibility("default")))
#endif
#if defined(_WIN32)
#define ZCDL_LOCAL
#else
#define ZCDL_LOCAL __attribute__((visibility("hidden")))
#endif
