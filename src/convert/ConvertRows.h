#pragma once
#include "convert/ZBMColorFormat.h"
#include "shr/CopyPixelRows.h"

namespace zbm {

/// Converts rows between two different formats of which kernels know the pair: every one but those that choose a
/// palette. Tables are not written; an indexed destination gets indices, and an indexed source must have its table.
void ConvertRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height);
/// The same for rows that are a part of what is written: whether that goes past the caches is said by the caller, who
/// calls shr::FinishCopyWrites at its end. (To wait for each part takes a third of the time of small ones.)
void ConvertRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height,
                 shr::CopyWrites writes);

/// Copies the bytes that hold pixels, between rows of one format.
void CopyRows(const PixelRows& dst, const ConstPixelRows& src, std::uint32_t width, std::uint32_t height);

}  // namespace zbm
