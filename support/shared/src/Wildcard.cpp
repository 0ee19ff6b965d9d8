#include "Wildcard.h"

namespace shr {
namespace {

// In wchar_t units: a character outside the basic plane takes two of 16 bits.
std::size_t CharacterLength(const std::wstring& text, std::size_t at) {
    if constexpr (sizeof(wchar_t) == 2) {
        const auto isIn = [&](std::size_t i, wchar_t first, wchar_t last) {
            return i < text.size() && text[i] >= first && text[i] <= last;
        };
        if (isIn(at, 0xD800, 0xDBFF) && isIn(at + 1, 0xDC00, 0xDFFF)) return 2;
    }
    return 1;
}

}  // namespace

Wildcard::Wildcard(const ZString& text) : pattern(FoldFileNameCase(text)) {}

bool Wildcard::Matches(const ZString& name) const {
    const std::wstring text = FoldFileNameCase(name);
    constexpr std::size_t kNone = std::wstring::npos;
    // Where the last * stands and how far it reaches: on a mismatch it takes one more character. An earlier * never
    // needs to, since whatever it could leave to the later one that takes anyway.
    std::size_t star = kNone, starEnd = 0;
    std::size_t at = 0, in = 0;
    while (at < text.size()) {
        if (in < pattern.size() && pattern[in] == L'*') {
            star = in++;
            starEnd = at;
        } else if (in < pattern.size() && pattern[in] == L'?') {
            at += CharacterLength(text, at);
            ++in;
        } else if (in < pattern.size() && pattern[in] == text[at]) {
            ++at;
            ++in;
        } else if (star != kNone) {
            starEnd += CharacterLength(text, starEnd);
            at = starEnd;
            in = star + 1;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', in) == kNone;
}

}  // namespace shr
