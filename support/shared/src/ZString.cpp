#include "shr/ZString.h"

#include "Utf8.h"

namespace shr {
namespace {

constexpr bool kWideIsUtf16 = sizeof(wchar_t) == 2;

void AppendWide(std::wstring& wide, char32_t codePoint) {
    if (kWideIsUtf16 && codePoint > 0xFFFF) {
        wide += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
        wide += static_cast<wchar_t>(0xDC00 + (codePoint & 0x3FF));
    } else {
        wide += static_cast<wchar_t>(codePoint);
    }
}

bool IsHighSurrogate(char32_t unit) noexcept { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLowSurrogate(char32_t unit) noexcept { return unit >= 0xDC00 && unit <= 0xDFFF; }

/// The code point at `index`, which advances past it. A surrogate pair counts as one only where text is UTF-16.
char32_t NextCodePoint(const std::wstring& wide, std::size_t& index) noexcept {
    const auto first = static_cast<char32_t>(wide[index++]);
    if (!kWideIsUtf16 || !IsHighSurrogate(first) || index == wide.size()) return first;
    const auto second = static_cast<char32_t>(wide[index]);
    if (!IsLowSurrogate(second)) return first;
    ++index;
    return 0x10000 + ((first - 0xD800) << 10) + (second - 0xDC00);
}

}  // namespace

ZString::ZString(const char* utf8) : ZString(FromUtf8(utf8 == nullptr ? std::string_view() : std::string_view(utf8))) {}

ZString ZString::FromUtf8(std::string_view utf8) {
    std::wstring wide;
    wide.reserve(utf8.size());  // never too little: no code point takes more units than bytes
    for (std::size_t i = 0; i < utf8.size();) {
        const DecodedUtf8 decoded = DecodeUtf8(utf8.data() + i, utf8.size() - i);
        AppendWide(wide, decoded.codePoint);
        i += decoded.byteCount;
    }
    return ZString(std::move(wide));
}

std::string ZString::ToUtf8() const {
    std::string utf8;
    utf8.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) AppendUtf8(utf8, NextCodePoint(text, i));
    return utf8;
}

bool ZString::StartsWith(const ZString& head) const noexcept {
    return std::wstring_view(text).starts_with(std::wstring_view(head.text));
}

bool ZString::EndsWith(const ZString& tail) const noexcept {
    return std::wstring_view(text).ends_with(std::wstring_view(tail.text));
}

ZString ZString::Part(std::size_t first, std::size_t count) const {
    if (first >= text.size()) return {};
    return ZString(text.substr(first, count));
}

}  // namespace shr
