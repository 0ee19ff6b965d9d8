#include "FormatWide.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string_view>

#include "shr/ZString.h"

// The format is walked here and each number handed to snprintf on its own. The system's vswprintf would not do: what %s
// and %hs mean differs between systems, narrow text is taken to be in the process's locale, and it tells neither how
// long the result is nor why it failed.
namespace shr {
namespace {

enum class Length { none, hh, h, l, ll, j, z, t, longDouble };

/// One conversion: %[flags][width][.precision][length]type.
struct Conversion {
    std::string flags;
    int width = 0;
    int precision = -1;  // none
    Length length = Length::none;
    wchar_t type = 0;

    bool IsLeftAligned() const { return flags.find('-') != std::string::npos; }

    /// For snprintf, with a length of its own.
    std::string FormatWith(const char* lengthOfValue) const {
        std::string format(1, '%');
        format += flags;
        if (width > 0) format += std::to_string(width);
        if (precision >= 0) format += '.' + std::to_string(precision);
        format += lengthOfValue;
        format += static_cast<char>(type);
        return format;
    }
};

class Formatter {
public:
    Formatter(const wchar_t* format, std::va_list list) : next(format) { va_copy(arguments, list); }
    ~Formatter() { va_end(arguments); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    std::wstring Run() {
        while (*next != 0) {
            const wchar_t* start = next;
            if (*next != L'%') {
                next += std::wcscspn(next, L"%");
                result.append(start, next);
            } else if (!Convert(ReadConversion())) {
                return result + start;  // the arguments' types are not known any more
            }
        }
        return std::move(result);
    }

private:
    bool Skip(wchar_t unit) {
        if (*next != unit) return false;
        ++next;
        return true;
    }

    int ReadNumber() {
        if (Skip(L'*')) return va_arg(arguments, int);
        int number = 0;
        for (; *next >= L'0' && *next <= L'9'; ++next) number = std::min(number, kLargestNumber) * 10 + (*next - L'0');
        return number;
    }

    Length ReadLength() {
        if (Skip(L'h')) return Skip(L'h') ? Length::hh : Length::h;
        if (Skip(L'l')) return Skip(L'l') ? Length::ll : Length::l;
        if (Skip(L'j')) return Length::j;
        if (Skip(L'z')) return Length::z;
        if (Skip(L't')) return Length::t;
        if (Skip(L'L')) return Length::longDouble;
        return Length::none;
    }

    Conversion ReadConversion() {
        Conversion conversion;
        ++next;
        for (; *next != 0 && std::wcschr(L"-+ #0", *next) != nullptr; ++next)
            conversion.flags += static_cast<char>(*next);
        conversion.width = ReadNumber();
        if (conversion.width < 0) {
            conversion.flags += '-';
            conversion.width = -std::max(conversion.width, -kLargestNumber);
        }
        if (Skip(L'.')) conversion.precision = ReadNumber();
        conversion.length = ReadLength();
        if (*next != 0) conversion.type = *next++;
        return conversion;
    }

    /// False if there is no such conversion.
    bool Convert(const Conversion& conversion) {
        switch (conversion.type) {
            case L'%': result += L'%'; return true;
            case L's': ConvertText(conversion); return true;
            case L'c': ConvertCharacter(conversion); return true;
            case L'd':
            case L'i': return ConvertSigned(conversion);
            case L'u':
            case L'o':
            case L'x':
            case L'X': return ConvertUnsigned(conversion);
            case L'e':
            case L'E':
            case L'f':
            case L'F':
            case L'g':
            case L'G':
            case L'a':
            case L'A': ConvertFloat(conversion); return true;
            case L'p': AppendNumber(conversion, "", va_arg(arguments, void*)); return true;
            case L'n': static_cast<void>(va_arg(arguments, void*)); return true;
            default: return false;
        }
    }

    void ConvertText(const Conversion& conversion) {
        if (conversion.length == Length::h) {
            const char* text = va_arg(arguments, const char*);
            if (text == nullptr) text = "(null)";
            AppendPadded(conversion, ZString::FromUtf8({text, MeasuredLength(text, conversion.precision)}).Wide());
        } else {
            const wchar_t* text = va_arg(arguments, const wchar_t*);
            if (text == nullptr) text = L"(null)";
            AppendPadded(conversion, {text, MeasuredLength(text, conversion.precision)});
        }
    }

    void ConvertCharacter(const Conversion& conversion) {
        const int value = va_arg(arguments, int);
        const wchar_t wide = conversion.length == Length::h ? static_cast<wchar_t>(static_cast<unsigned char>(value))
                                                            : static_cast<wchar_t>(value);
        AppendPadded(conversion, {&wide, 1});
    }

    bool ConvertSigned(const Conversion& conversion) {
        switch (conversion.length) {
            case Length::none: AppendInteger(conversion, va_arg(arguments, int)); return true;
            case Length::hh: AppendInteger(conversion, static_cast<signed char>(va_arg(arguments, int))); return true;
            case Length::h: AppendInteger(conversion, static_cast<short>(va_arg(arguments, int))); return true;
            case Length::l: AppendInteger(conversion, va_arg(arguments, long)); return true;
            case Length::ll: AppendInteger(conversion, va_arg(arguments, long long)); return true;
            case Length::j: AppendInteger(conversion, va_arg(arguments, std::intmax_t)); return true;
            case Length::z:
            case Length::t: AppendInteger(conversion, va_arg(arguments, std::ptrdiff_t)); return true;
            case Length::longDouble: break;
        }
        return false;
    }

    bool ConvertUnsigned(const Conversion& conversion) {
        switch (conversion.length) {
            case Length::none: AppendInteger(conversion, va_arg(arguments, unsigned)); return true;
            case Length::hh: AppendInteger(conversion, static_cast<unsigned char>(va_arg(arguments, int))); return true;
            case Length::h: AppendInteger(conversion, static_cast<unsigned short>(va_arg(arguments, int))); return true;
            case Length::l: AppendInteger(conversion, va_arg(arguments, unsigned long)); return true;
            case Length::ll: AppendInteger(conversion, va_arg(arguments, unsigned long long)); return true;
            case Length::j: AppendInteger(conversion, va_arg(arguments, std::uintmax_t)); return true;
            case Length::z:
            case Length::t: AppendInteger(conversion, va_arg(arguments, std::size_t)); return true;
            case Length::longDouble: break;
        }
        return false;
    }

    void ConvertFloat(const Conversion& conversion) {
        if (conversion.length == Length::longDouble) {
            AppendNumber(conversion, "L", va_arg(arguments, long double));
        } else {
            AppendNumber(conversion, "", va_arg(arguments, double));
        }
    }

    void AppendInteger(const Conversion& conversion, long long value) { AppendNumber(conversion, "ll", value); }
    void AppendInteger(const Conversion& conversion, unsigned long long value) {
        AppendNumber(conversion, "ll", value);
    }
    template <class Integer>
    void AppendInteger(const Conversion& conversion, Integer value) {
        if constexpr (static_cast<Integer>(-1) < Integer{0}) {
            AppendInteger(conversion, static_cast<long long>(value));
        } else {
            AppendInteger(conversion, static_cast<unsigned long long>(value));
        }
    }

    template <class Value>
    void AppendNumber(const Conversion& conversion, const char* length, Value value) {
        const std::string format = conversion.FormatWith(length);
        const int needed = std::snprintf(nullptr, 0, format.c_str(), value);
        if (needed < 0) return;
        std::string digits(static_cast<std::size_t>(needed) + 1, '\0');
        std::snprintf(digits.data(), digits.size(), format.c_str(), value);
        digits.pop_back();
        result += ZString::FromUtf8(digits).Wide();
    }

    void AppendPadded(const Conversion& conversion, std::wstring_view text) {
        const auto width = static_cast<std::size_t>(conversion.width);
        const std::size_t padding = width > text.size() ? width - text.size() : 0;
        if (!conversion.IsLeftAligned()) result.append(padding, L' ');
        result += text;
        if (conversion.IsLeftAligned()) result.append(padding, L' ');
    }

    /// Units before the zero that ends the text; with a precision at most that many, and no unit after them is looked
    /// at.
    template <class Unit>
    static std::size_t MeasuredLength(const Unit* text, int precision) {
        std::size_t length = 0;
        while ((precision < 0 || length < static_cast<std::size_t>(precision)) && text[length] != 0) ++length;
        return length;
    }

    static constexpr int kLargestNumber = 100'000'000;  // of a width or precision; far from what overflows an int

    const wchar_t* next;
    std::va_list arguments;
    std::wstring result;
};

}  // namespace

std::wstring FormatWide(const wchar_t* format, std::va_list arguments) { return Formatter(format, arguments).Run(); }

}  // namespace shr
