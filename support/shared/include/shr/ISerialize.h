#pragma once
#include <cstdint>

#include "shr/Export.h"

namespace shr {

/// The host's archive, open either for storing or for loading. Its three virtual operations come first in the virtual
/// table, in this order; hosts are compiled against that.
class SHR_API ISerialize {
public:
    virtual bool IsStoring() = 0;
    /// Fills exactly `byteCount` bytes. What happens when the archive is at its end is up to it; the ready-made
    /// archives raise an error.
    virtual void Read(void* dst, unsigned int byteCount) = 0;
    /// Appends exactly `byteCount` bytes.
    virtual void Write(const void* src, unsigned int byteCount) = 0;

protected:
    ISerialize() = default;
    ISerialize(const ISerialize&) = default;
    ISerialize& operator=(const ISerialize&) = default;
    ~ISerialize() = default;
};

/// An archive may implement this beside ISerialize to tell how much is left to read. It is handed to the reader, which
/// then refuses a count that the rest of the archive cannot back before it allocates for it; an archive behind an
/// ISerialize is never asked what else it is, as hosts may be compiled without run-time types.
class SHR_API ISerializeExtent {
public:
    virtual std::uint64_t RemainingBytes() = 0;

protected:
    ISerializeExtent() = default;
    ISerializeExtent(const ISerializeExtent&) = default;
    ISerializeExtent& operator=(const ISerializeExtent&) = default;
    ~ISerializeExtent() = default;
};

}  // namespace shr
