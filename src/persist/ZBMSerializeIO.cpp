#include <algorithm>
#include <cstring>
#include <vector>

#include "zbm/SerializeIO.h"

namespace zbm {

static_assert(sizeof(unsigned int) == 4 && sizeof(unsigned short) == 2);

namespace {

/// Room for so many bytes is made before they have come: a block of a usual tile is read at once.
constexpr std::uint32_t kPieceBytes = 4 << 20;

void Drain(shr::ISerialize& archive, std::uint32_t byteCount) {
    unsigned char piece[4096];
    while (byteCount > 0) {
        const std::uint32_t now = std::min<std::uint32_t>(byteCount, sizeof piece);
        archive.Read(piece, now);
        byteCount -= now;
    }
}

}  // namespace

SerializeIO::SerializeIO(shr::ISerialize& hostArchive, bool withReductions, zcdl::CodecMethod method)
    : archive(hostArchive), encoder(method, 0), storePOTReductions(withReductions) {}

SerializeIO::~SerializeIO() = default;

bool SerializeIO::IsStoring() const { return archive.IsStoring(); }

unsigned short SerializeIO::ReadObjVersion() {
    unsigned short version = 0;
    archive.Read(&version, sizeof version);
    return version;
}

void SerializeIO::WriteObjVersion(unsigned short version) { archive.Write(&version, sizeof version); }

void SerializeIO::Read(unsigned char* dst, unsigned int byteCount) { archive.Read(dst, byteCount); }

void SerializeIO::Write(const unsigned char* src, unsigned int byteCount) { archive.Write(src, byteCount); }

void SerializeIO::ReadCompressed(unsigned char* dst, unsigned int byteCount) {
    FetchBlock(byteCount);
    DecodeBlock(dst, byteCount);
}

std::uint32_t SerializeIO::FetchBlock(unsigned int byteCount) {
    std::uint32_t encodedBytes = 0;
    archive.Read(&encodedBytes, sizeof encodedBytes);
    if (encodedBytes > zcdl::MaxEncodedSize(byteCount)) {
        Drain(archive, encodedBytes);  // no encoder wrote this; keep in step with what follows
        decoder.SetEncodeBufferSize(0);
    } else if (HoldsAtOnce(encodedBytes)) {
        decoder.SetEncodeBufferSize(encodedBytes);
        archive.Read(decoder.GetEncodeBuffer(), encodedBytes);
    } else {
        GatherBlock(encodedBytes);
    }
    return encodedBytes;
}

bool SerializeIO::HoldsAtOnce(std::uint32_t byteCount) {
    if (byteCount <= kPieceBytes) return true;
    const auto remaining = RemainingBytes();
    return remaining && byteCount <= *remaining;
}

/// Piece by piece, each as long as all before it, so that no more room is made than has come.
void SerializeIO::GatherBlock(std::uint32_t encodedBytes) {
    std::vector<unsigned char> block;
    while (block.size() < encodedBytes) {
        const std::size_t come = block.size();
        const std::size_t piece = std::min(encodedBytes - come, std::max<std::size_t>(come, kPieceBytes));
        block.resize(come + piece);
        archive.Read(block.data() + come, static_cast<unsigned>(piece));
    }
    decoder.SetEncodeBufferSize(encodedBytes);
    std::memcpy(decoder.GetEncodeBuffer(), block.data(), encodedBytes);
}

void SerializeIO::DecodeBlock(unsigned char* dst, unsigned int byteCount) {
    if (!decoder.Decode(dst, byteCount)) ++damagedBlocks;
}

void SerializeIO::WriteCompressed(const unsigned char* src, unsigned int byteCount) {
    encoder.Encode(src, byteCount);
    const std::uint32_t encodedBytes = encoder.GetNumEncodedBytes();
    archive.Write(&encodedBytes, sizeof encodedBytes);
    archive.Write(encoder.GetEncodedBytes(), encodedBytes);
}

std::optional<std::uint64_t> SerializeIO::RemainingBytes() {
    if (extent == nullptr) return std::nullopt;
    return extent->RemainingBytes();
}

}  // namespace zbm
