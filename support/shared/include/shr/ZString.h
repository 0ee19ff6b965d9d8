#pragma once
#include <compare>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include "shr/Export.h"

namespace shr {

/// A text of wide characters with value semantics: UTF-16 where wchar_t has 16 bits (Windows), UTF-32 where it has 32.
///
/// Narrow text, where it comes in or goes out, is always UTF-8, whatever the process's locale. What is no valid text
/// becomes U+FFFD, but for one case: a byte that is not UTF-8 is kept as U+DC80..U+DCFF and given back as that byte,
/// so that any file name of any system survives the way in and out.
class SHR_API ZString {
public:
    ZString() noexcept = default;
    ZString(const wchar_t* wide) : text(wide == nullptr ? L"" : wide) {}
    ZString(std::wstring wide) noexcept : text(std::move(wide)) {}
    explicit ZString(std::wstring_view wide) : text(wide) {}
    /// From UTF-8; `utf8` may be null, which gives the empty text.
    ZString(const char* utf8);

    static ZString FromUtf8(std::string_view utf8);
    std::string ToUtf8() const;

    const wchar_t* c_str() const noexcept { return text.c_str(); }
    const std::wstring& Wide() const noexcept { return text; }
    /// In wchar_t units.
    std::size_t Length() const noexcept { return text.size(); }
    bool IsEmpty() const noexcept { return text.empty(); }
    void Clear() noexcept { text.clear(); }

    wchar_t operator[](std::size_t index) const noexcept { return text[index]; }
    wchar_t Last() const noexcept { return text.empty() ? L'\0' : text.back(); }
    bool StartsWith(const ZString& head) const noexcept;
    bool EndsWith(const ZString& tail) const noexcept;
    /// The part from `first` on, at most `count` units long; empty when `first` is past the end.
    ZString Part(std::size_t first, std::size_t count = std::wstring::npos) const;

    ZString& operator+=(const ZString& other) {
        text += other.text;
        return *this;
    }
    ZString& operator+=(wchar_t unit) {
        text += unit;
        return *this;
    }
    friend ZString operator+(ZString left, const ZString& right) { return left += right; }
    friend bool operator==(const ZString&, const ZString&) noexcept = default;
    friend std::strong_ordering operator<=>(const ZString& a, const ZString& b) noexcept {
        return a.text.compare(b.text) <=> 0;
    }

private:
    std::wstring text;
};

}  // namespace shr

template <>
struct std::hash<shr::ZString> {
    std::size_t operator()(const shr::ZString& text) const noexcept { return std::hash<std::wstring>{}(text.Wide()); }
};
