#pragma once
#include <cstdint>
#include <optional>

#include "shr/ISerialize.h"
#include "zbm/Export.h"
#include "zcdl/Codec.h"

namespace zbm {

/// The stream through which bitmaps are stored in the host's archive and loaded from it: object versions, raw bytes and
/// compressed blocks. It lives for one store or one load.
///
///     shr::MemoryArchive archive;
///     zbm::SerializeIO io(archive, false, zcdl::CodecMethod::balanced);
///     bitmap.Serialize(io, nullptr, nullptr);
///
/// Errors of the archive pass through; a damaged compressed block raises nothing and reads as zeroes.
class ZBM_API SerializeIO {
public:
    /// `hostArchive` is borrowed. `withReductions`: bitmaps that keep reductions store them too. `method` is used for
    /// storing only; blocks of every method can be loaded.
    SerializeIO(shr::ISerialize& hostArchive, bool withReductions,
                zcdl::CodecMethod method = zcdl::CodecMethod::balanced);
    ~SerializeIO();
    SerializeIO(const SerializeIO&) = delete;
    SerializeIO& operator=(const SerializeIO&) = delete;

    shr::ISerialize& GetInterface() noexcept { return archive; }
    bool IsStoring() const;
    bool StoringPOTReductions() const noexcept { return storePOTReductions; }

    unsigned short ReadObjVersion();
    void WriteObjVersion(unsigned short version);

    void Read(unsigned char* dst, unsigned int byteCount);
    void Write(const unsigned char* src, unsigned int byteCount);

    /// One block: the encoded length as 32 bits, then that many bytes. `byteCount` is the length before encoding, which
    /// the reader must know. Reading needs no more memory than a block of `byteCount` bytes can take, whatever length
    /// the archive claims. Writing raises std::length_error, before anything is written, for a block too long to frame.
    void ReadCompressed(unsigned char* dst, unsigned int byteCount);
    void WriteCompressed(const unsigned char* src, unsigned int byteCount);

    /// What is left to read, where the archive tells (see shr::ISerializeExtent).
    std::optional<std::uint64_t> RemainingBytes();

private:
    shr::ISerialize& archive;
    zcdl::CEncode encoder;
    zcdl::CDecode decoder;
    bool storePOTReductions;
};

}  // namespace zbm
