// Decodes whatever comes as a compressed block, twice: as it is, and under a checksum that fits, without which nearly
// all of it would be refused at once. What is accepted is encoded again by one of the methods and must come back.
//
// An input's first byte chooses the method (low 2 bits); the next three are the number of bytes to decode, low byte
// first. fuzz/make_decode_corpus.cpp makes the seeds.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "zcdl/Codec.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kHeadBytes = 4;
constexpr std::size_t kChecksumBytes = 4;
constexpr std::size_t kMaxContentBytes = 72000;

void Require(bool condition) {
    if (!condition) std::abort();
}

std::uint32_t Checksum(const std::uint8_t* bytes, std::size_t count) {
    std::uint32_t sums[8] = {}, sumsOfSums[8] = {};
    for (std::size_t group = 0; group < count; group += 32) {
        std::uint8_t padded[32] = {};
        std::memcpy(padded, bytes + group, count - group < 32 ? count - group : 32);
        for (std::size_t lane = 0; lane < 8; ++lane) {
            std::uint32_t word = 0;
            for (std::size_t k = 4; k-- > 0;) word = word << 8 | padded[4 * lane + k];
            sumsOfSums[lane] += sums[lane] += word;
        }
    }
    auto hash = static_cast<std::uint32_t>(count);
    for (std::size_t lane = 0; lane < 8; ++lane) {
        hash = (hash ^ sums[lane]) * 0x9E3779B1u;
        hash ^= hash >> 15;
        hash = (hash ^ sumsOfSums[lane]) * 0x85EBCA77u;
        hash ^= hash >> 13;
    }
    return hash;
}

/// In memory of the exact size, filled beforehand, so that every byte's fate can be told.
bool Decode(const Bytes& block, std::unique_ptr<std::uint8_t[]>& content, std::size_t byteCount) {
    content.reset(new std::uint8_t[byteCount]);
    std::memset(content.get(), 0xEE, byteCount);
    zcdl::CDecode decoder;
    decoder.SetEncodeBufferSize(static_cast<std::uint32_t>(block.size()));
    if (!block.empty()) std::memcpy(decoder.GetEncodeBuffer(), block.data(), block.size());
    if (decoder.Decode(content.get(), byteCount)) return true;
    for (std::size_t i = 0; i < byteCount; ++i) Require(content[i] == 0);
    return false;
}

void Try(const Bytes& block, std::size_t byteCount, zcdl::CodecMethod method) {
    std::unique_ptr<std::uint8_t[]> content;
    if (!Decode(block, content, byteCount)) return;
    Require(block.size() >= zcdl::MinEncodedSize(byteCount));
    zcdl::CEncode encoder(method);
    encoder.Encode(content.get(), byteCount);
    Require(encoder.GetNumEncodedBytes() <= zcdl::MaxEncodedSize(byteCount));
    const Bytes again(encoder.GetEncodedBytes(), encoder.GetEncodedBytes() + encoder.GetNumEncodedBytes());
    std::unique_ptr<std::uint8_t[]> other;
    Require(Decode(again, other, byteCount));
    Require(byteCount == 0 || std::memcmp(content.get(), other.get(), byteCount) == 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < kHeadBytes) return 0;
    const auto method = static_cast<zcdl::CodecMethod>(data[0] & 3);
    const std::size_t byteCount = (data[1] + 256u * data[2] + 65536u * data[3]) % kMaxContentBytes;
    Bytes block(data + kHeadBytes, data + size);
    Try(block, byteCount, method);
    if (block.size() <= kChecksumBytes) return 0;
    const std::size_t bodyBytes = block.size() - kChecksumBytes;
    const std::uint32_t sum = Checksum(block.data(), bodyBytes);
    for (std::size_t i = 0; i < kChecksumBytes; ++i) block[bodyBytes + i] = static_cast<std::uint8_t>(sum >> (8 * i));
    Try(block, byteCount, method);
    return 0;
}
