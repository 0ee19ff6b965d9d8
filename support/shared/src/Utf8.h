#pragma once
// UTF-8, one code point at a time: what ZString and the registry of types agree on.
#include <cstddef>
#include <cstdint>
#include <string>

namespace shr {

inline constexpr char32_t kReplacementCharacter = 0xFFFD;

/// A byte b that is no part of valid UTF-8 is kept as the code point kForeignByteBase + b, U+DC80..U+DCFF. No valid
/// text holds these, since they are surrogates.
inline constexpr char32_t kForeignByteBase = 0xDC00;
constexpr bool IsForeignByte(char32_t codePoint) noexcept { return codePoint >= 0xDC80 && codePoint <= 0xDCFF; }
constexpr bool IsSurrogate(char32_t codePoint) noexcept { return codePoint >= 0xD800 && codePoint <= 0xDFFF; }

struct DecodedUtf8 {
    char32_t codePoint;
    std::size_t byteCount;
};

/// The first code point of `bytes`, of which at least one is there. Overlong forms, surrogates, values above U+10FFFF
/// and sequences cut short are not UTF-8: their first byte then is taken alone, as a foreign byte.
DecodedUtf8 DecodeUtf8(const char* bytes, std::size_t byteCount) noexcept;

/// Appends a code point; a foreign byte becomes that byte again, and what is no code point U+FFFD.
void AppendUtf8(std::string& utf8, char32_t codePoint);

}  // namespace shr
