#pragma once
// ZPIXF_API marks what this library offers to others; everything else stays hidden inside it, ZPIXF_LOCAL what lies
// within a class that it offers. Programs that link the static libraries define ZBM_STATIC.
#if defined(ZBM_STATIC)
#define ZPIXF_API
#elif defined(_WIN32)
#if defined(ZPIXF_EXPORTS)
#define ZPIXF_API __declspec(dllexport)
#else
#define ZPIXF_API __declspec(dllimport)
#endif
#else
#define ZPIXF_API __attribute__((visibility("default")))
#endif
#if defined(_WIN32)
#define ZPIXF_LOCAL
#else
#define ZPIXF_LOCAL __attribute__((visibility("hidden")))
#endif
