#pragma once
// The graphics device interface's types, rectangle functions and device contexts under one name: the system's own on
// Windows, ours elsewhere, with the same names, sizes and values. This is the one header that asks which system it is.
#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#if !defined(WIN32_LEAN_AND_MEAN)
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#else
#include "gdi/gdi_device.h"
#include "gdi/gdi_rect.h"
#include "gdi/gdi_types.h"
#endif
