#pragma once
#include <concepts>
#include <cstdint>
#include <optional>

#include "shr/ISerialize.h"
#include "zbm/Export.h"
#include "zcdl/Codec.h"

namespace zbm {

/// A host's archive that also tells how much is left to read.
template <class Archive>
concept TellsExtent = std::derived_from<Archive, shr::ISerialize> && std::derived_from<Archive, shr::ISerializeExtent>;

/// The stream through which bitmaps are stored in the host's archive and loaded from it: object versions, raw bytes and
/// compressed blocks. It lives for one store or one load.
///
///     shr::MemoryArchive archive(bytes);
///     zbm::SerializeIO io(archive, false);
///     bitmap.Serialize(io, nullptr, nullptr);
///     if (io.DamagedBlocks() != 0) ...               // pixels are missing
///
/// Errors of the archive pass through. A damaged compressed block raises nothing: what it should hold reads as zeroes,
/// and it is counted.
class ZBM_API SerializeIO {
public:
    /// `hostArchive` is borrowed. `withReductions`: bitmaps that keep reductions store them too. `method` is used for
    /// storing only; blocks of every method can be loaded.
    SerializeIO(shr::ISerialize& hostArchive, bool withReductions,
                zcdl::CodecMethod method = zcdl::CodecMethod::balanced);
    /// The same, and sets the archive as its own extent.
    template <TellsExtent Archive>
    SerializeIO(Archive& hostArchive, bool withReductions, zcdl::CodecMethod method = zcdl::CodecMethod::balanced)
        : SerializeIO(static_cast<shr::ISerialize&>(hostArchive), withReductions, method) {
        SetExtent(&hostArchive);
    }
    ~SerializeIO();
    SerializeIO(const SerializeIO&) = delete;
    SerializeIO& operator=(const SerializeIO&) = delete;

    /// Whom to ask for what is left to read; null, as at first, for nobody. Borrowed. With it a picture that is larger
    /// than the rest of the archive is refused at its header; without it memory grows with the tiles that arrive.
    void SetExtent(shr::ISerializeExtent* newExtent) noexcept { extent = newExtent; }
    /// What is left to read, where the archive tells.
    std::optional<std::uint64_t> RemainingBytes();

    shr::ISerialize& GetInterface() noexcept { return archive; }
    bool IsStoring() const;
    bool StoringPOTReductions() const noexcept { return storePOTReductions; }

    unsigned short ReadObjVersion();
    void WriteObjVersion(unsigned short version);

    void Read(unsigned char* dst, unsigned int byteCount);
    void Write(const unsigned char* src, unsigned int byteCount);

    /// One block: the encoded length as 32 bits, then that many bytes. `byteCount` is the length before encoding, which
    /// the reader must know. Reading needs memory for what the archive holds of the block, whatever length it claims.
    /// Writing raises std::length_error, before anything is written, for a block too long to frame.
    void ReadCompressed(unsigned char* dst, unsigned int byteCount);
    void WriteCompressed(const unsigned char* src, unsigned int byteCount);

    /// The blocks read so far that were damaged. Where it is not 0 after a load, the bitmap lacks pixels or masks.
    std::uint64_t DamagedBlocks() const noexcept { return damagedBlocks; }

private:
    friend class ZScanRect;

    // ReadCompressed in two steps, so that what a block is decoded into can be made once the block is there.
    /// Returns the block's encoded length.
    std::uint32_t FetchBlock(unsigned int byteCount);
    void GatherBlock(std::uint32_t encodedBytes);
    void DecodeBlock(unsigned char* dst, unsigned int byteCount);
    bool HoldsAtOnce(std::uint32_t byteCount);

    shr::ISerialize& archive;
    zcdl::CEncode encoder;
    zcdl::CDecode decoder;
    bool storePOTReductions;
    shr::ISerializeExtent* extent = nullptr;
    std::uint64_t damagedBlocks = 0;
};

}  // namespace zbm
