#pragma once
#include <cstddef>

#include "shr/Export.h"

namespace shr {

// These bring memory into the caches that will soon be read or written, where the processor would not do so by itself:
// rows that are shorter than the way from one to the next. They change nothing; an address need not be one of memory.
SHR_API void FetchForReading(const void* address, std::size_t byteCount) noexcept;
SHR_API void FetchForWriting(const void* address, std::size_t byteCount) noexcept;

}  // namespace shr
