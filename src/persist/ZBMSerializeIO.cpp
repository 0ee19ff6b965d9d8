#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "zbm/SerializeIO.h"

namespace zbm {

static_assert(sizeof(unsigned int) == 4 && sizeof(unsigned short) == 2);

namespace {

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
    std::uint32_t encodedBytes = 0;
    archive.Read(&encodedBytes, sizeof encodedBytes);
    if (encodedBytes > zcdl::MaxEncodedSize(byteCount)) {
        Drain(archive, encodedBytes);  // no encoder wrote this; keep in step with what follows
        std::memset(dst, 0, byteCount);
        return;
    }
    decoder.SetEncodeBufferSize(encodedBytes);
    archive.Read(decoder.GetEncodeBuffer(), encodedBytes);
    decoder.Decode(dst, byteCount);
}

void SerializeIO::WriteCompressed(const unsigned char* src, unsigned int byteCount) {
    encoder.Encode(src, byteCount);
    const std::uint32_t encodedBytes = encoder.GetNumEncodedBytes();
    archive.Write(&encodedBytes, sizeof encodedBytes);
    archive.Write(encoder.GetEncodedBytes(), encodedBytes);
}

std::optional<std::uint64_t> SerializeIO::RemainingBytes() {
    auto* extent = dynamic_cast<shr::ISerializeExtent*>(&archive);
    if (extent == nullptr) return std::nullopt;
    return extent->RemainingBytes();
}

}  // namespace zbm
