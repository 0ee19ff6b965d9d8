#pragma once
// Both kinds of files begin with 49 bytes: a text of 44 characters, a zero byte, and the version as 32 bits.
#include <array>
#include <cstddef>
#include <cstdint>

namespace shr {
class CBufferedFile;
}

namespace zbm {

class SignatureBlock {
public:
    static constexpr std::size_t kTextBytes = 45;  // with the zero byte
    static constexpr std::size_t kBytes = kTextBytes + 4;
    static constexpr std::int32_t kVersion = 1;

    explicit constexpr SignatureBlock(const char (&signatureText)[kTextBytes]) noexcept : text(signatureText) {}

    void Write(shr::CBufferedFile& file) const;
    /// Whether this signature, of the version that we know, lies at the file's position; advances it.
    bool Read(shr::CBufferedFile& file) const;
    /// Whether the file's next bytes are the text; the version is not looked at.
    bool ReadText(shr::CBufferedFile& file) const;

private:
    const char (&text)[kTextBytes];
};

inline constexpr SignatureBlock kStoreSignature("ZVSRFS{EFBEE140-81DC-4651-9A18-AAE60DC7ADD1}");
inline constexpr SignatureBlock kFileBitmapSignature("ZVSRFB{FC3D43BA-281B-4C12-9870-6FDCC9FAADF1}");

}  // namespace zbm
