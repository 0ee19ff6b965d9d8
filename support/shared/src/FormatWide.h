#pragma once
#include <cstdarg>
#include <string>

namespace shr {

/// Formats as vswprintf does, but with the same meaning on every system and in every locale: %s, %ls, %c and %lc are
/// wide, %hs is UTF-8, %hc one byte. Not known: %n, which is skipped with its argument, and conversions that standard C
/// does not have; the format is then given out as it stands from there on. Null texts read "(null)".
std::wstring FormatWide(const wchar_t* format, std::va_list arguments);

}  // namespace shr
