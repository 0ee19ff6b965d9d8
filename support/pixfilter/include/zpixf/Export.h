#pragma once
// ZPIXF_API marks what this library offers to others; everything else stays hidden inside it.
#if defined(_WIN32)
#if defined(ZPIXF_EXPORTS)
#define ZPIXF_API __declspec(dllexport)
#else
#define ZPIXF_API __declspec(dllimport)
#endif
#else
#define ZPIXF_API __attribute__((visibility("default")))
#endif
