#include "Utf8.h"

namespace shr {
namespace {

/// Bytes of the sequence that `lead` starts, or 0 if it starts none. C0, C1 and F5..FF start only overlong forms and
/// values out of range.
std::size_t SequenceLength(unsigned lead) noexcept {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

bool IsValid(char32_t codePoint, std::size_t sequenceLength) noexcept {
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    return codePoint >= kSmallest[sequenceLength] && codePoint <= 0x10FFFF && !IsSurrogate(codePoint);
}

}  // namespace

DecodedUtf8 DecodeUtf8(const char* bytes, std::size_t byteCount) noexcept {
    const auto byteAt = [bytes](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(bytes[i])); };
    const unsigned lead = byteAt(0);
    const DecodedUtf8 foreign{kForeignByteBase + lead, 1};
    const std::size_t length = SequenceLength(lead);
    if (length == 1) return {lead, 1};
    if (length == 0 || length > byteCount) return foreign;
    char32_t codePoint = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0u) != 0x80) return foreign;
        codePoint = codePoint << 6 | (byteAt(i) & 0x3Fu);
    }
    return IsValid(codePoint, length) ? DecodedUtf8{codePoint, length} : foreign;
}

void AppendUtf8(std::string& utf8, char32_t codePoint) {
    const auto append = [&utf8](char32_t byte) { utf8 += static_cast<char>(static_cast<unsigned char>(byte)); };
    const auto appendTail = [&](int shift) { append(0x80 | (codePoint >> shift & 0x3F)); };
    if (IsForeignByte(codePoint)) return append(codePoint - kForeignByteBase);
    if (IsSurrogate(codePoint) || codePoint > 0x10FFFF) codePoint = kReplacementCharacter;
    if (codePoint < 0x80) return append(codePoint);
    if (codePoint < 0x800) {
        append(0xC0 | codePoint >> 6);
    } else {
        if (codePoint < 0x10000) {
            append(0xE0 | codePoint >> 12);
        } else {
            append(0xF0 | codePoint >> 18);
            appendTail(12);
        }
        appendTail(6);
    }
    appendTail(0);
}

}  // namespace shr
