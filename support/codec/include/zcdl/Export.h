#pragma once
// ZCDL_API marks what this library offers to others; everything else stays hidden inside it.
#if defined(_WIN32)
#if defined(ZCDL_EXPORTS)
#define ZCDL_API __declspec(dllexport)
#else
#define ZCDL_API __declspec(dllimport)
#endif
#else
#define ZCDL_API __attribute__((visibility("default")))
#endif
