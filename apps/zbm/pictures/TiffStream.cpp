#include "pictures/TiffStream.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace tool {

namespace {

/// The largest block that a file may make the library allocate: a strip, a tile or a directory's entry.
constexpr tmsize_t kLargestAllocation = tmsize_t{1} << 30;

/// Whether a warning tells that pixels are missing, which the library then makes up. In fax and JPEG compression it
/// does.
bool TellsOfMissingData(std::string_view warning) {
    constexpr std::string_view kTexts[] = {"Premature EO",     "Premature end of", "Line length mismatch",
                                           "JPEG data: prema", "JPEG data: bad",   "instead of RST"};
    return std::any_of(std::begin(kTexts), std::end(kTexts),
                       [&](std::string_view text) { return warning.find(text) != std::string_view::npos; });
}

std::string Formatted(const char* format, va_list arguments) {
    char text[512];
    std::vsnprintf(text, sizeof text, format, arguments);
    return text;
}

}  // namespace

TiffStream::TiffStream(Data& file, const char* mode, Notes& target)
    : data(file), notes(target), noReason(*mode == 'r' ? "the file is damaged" : "the TIFF library gives no reason") {
    const std::unique_ptr<TIFFOpenOptions, void (*)(TIFFOpenOptions*)> options(TIFFOpenOptionsAlloc(),
                                                                               &TIFFOpenOptionsFree);
    if (options == nullptr) throw std::bad_alloc();
    TIFFOpenOptionsSetMaxSingleMemAlloc(options.get(), kLargestAllocation);
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &OnError, this);
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &OnWarning, this);
    tiff = TIFFClientOpenExt(
        "picture", mode, this, &OnRead, &OnWrite, &OnSeek, [](thandle_t) { return 0; }, &OnLength,
        [](thandle_t, void**, toff_t*) { return 0; }, [](thandle_t, void*, toff_t) {}, options.get());
    try {
        Check(tiff != nullptr);
    } catch (...) {
        if (tiff != nullptr) TIFFClose(tiff);
        throw;
    }
}

TiffStream::~TiffStream() {
    // The library (4.5.0 does) would write from buffers that it could not get.
    if (hasFailed) TIFFSetMode(tiff, O_RDONLY);
    TIFFClose(tiff);
}

void TiffStream::Check(bool succeeded) {
    hasFailed = hasFailed || pending || !succeeded;
    if (pending) std::rethrow_exception(std::exchange(pending, nullptr));
    const std::string text = std::exchange(message, {});
    if (!succeeded) throw std::runtime_error(text.empty() ? noReason : text);
}

template <class Action>
bool TiffStream::Try(const Action& action) noexcept {
    try {
        action();
        return true;
    } catch (...) {
        if (!pending) pending = std::current_exception();
        return false;
    }
}

tmsize_t TiffStream::OnRead(thandle_t handle, void* destination, tmsize_t byteCount) {
    TiffStream& self = Of(handle);
    std::size_t count = 0;
    const bool read = self.Try([&] { count = self.data.Read(destination, static_cast<std::size_t>(byteCount)); });
    // Not -1: the library (4.5.0 does) takes that for a length and clears memory before its buffer.
    return read ? static_cast<tmsize_t>(count) : 0;
}

tmsize_t TiffStream::OnWrite(thandle_t handle, void* bytes, tmsize_t byteCount) {
    TiffStream& self = Of(handle);
    const bool written = self.Try([&] { self.data.Write(bytes, static_cast<std::size_t>(byteCount)); });
    return written ? byteCount : 0;
}

toff_t TiffStream::OnSeek(thandle_t handle, toff_t offset, int whence) {
    TiffStream& self = Of(handle);
    std::int64_t position = 0;
    const bool sought = self.Try([&] {
        const std::int64_t base = whence == SEEK_CUR   ? self.data.Position()
                                  : whence == SEEK_END ? self.data.Length()
                                                       : 0;
        position = static_cast<std::int64_t>(static_cast<std::uint64_t>(base) + offset);
        // Forged offsets lie past the end of all files; the library finds out when it reads there.
        if (position >= 0) self.data.Seek(position);
    });
    return sought && position >= 0 ? static_cast<toff_t>(position) : static_cast<toff_t>(-1);
}

toff_t TiffStream::OnLength(thandle_t handle) {
    TiffStream& self = Of(handle);
    std::int64_t length = 0;
    self.Try([&] { length = self.data.Length(); });
    return static_cast<toff_t>(length);
}

int TiffStream::OnError(TIFF*, void* selfPointer, const char*, const char* format, va_list arguments) {
    auto& self = *static_cast<TiffStream*>(selfPointer);
    self.Try([&] {
        if (self.message.empty()) self.message = Formatted(format, arguments);
    });
    return 1;
}

int TiffStream::OnWarning(TIFF*, void* selfPointer, const char*, const char* format, va_list arguments) {
    auto& self = *static_cast<TiffStream*>(selfPointer);
    self.Try([&] {
        const std::string warning = Formatted(format, arguments);
        if (!TellsOfMissingData(warning)) return self.notes.Warn(warning);
        if (self.message.empty()) self.message = warning;
    });
    return 1;
}

}  // namespace tool
