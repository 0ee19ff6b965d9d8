#pragma once
#include "convert/ZBMColorFormat.h"

namespace zbm {

/// Converts rows between two different formats of which kernels know the pair: every one but those that choose a
/// palette. Tables are not written; an indexed destination gets indices, and an indexed source must have its table.
void ConvertRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height);

/// Copies the bytes that hold pixels, between rows of one format.
void CopyRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height);

}  // namespace zbm
