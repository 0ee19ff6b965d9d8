#pragma once
// SHR_API marks what this library offers to others; everything else stays hidden inside it.
#if defined(_WIN32)
#if defined(SHR_EXPORTS)
#define SHR_API __declspec(dllexport)
#else
#define SHR_API __declspec(dllimport)
#endif
#else
#define SHR_API __attribute__((visibility("default")))
#endif
