#include "zpixf/ZPixFilterBase.h"

#include <new>
#include <utility>

namespace zpixf {

ZPixFilterBase::ZPixFilterBase() = default;
ZPixFilterBase::~ZPixFilterBase() = default;

void ZPixFilterBase::SetInputFormat(const ZPixFormat& format) {
    if (started)
        nextInputFormat = format;
    else
        inputFormat = format;
}

void ZPixFilterBase::SetOutputFormat(const ZPixFormat& format) {
    if (started)
        nextOutputFormat = format;
    else
        outputFormat = format;
}

void ZPixFilterBase::SetScanLineFunction(ScanLineFunction function, void* data) {
    scanLineFunction = function;
    userData = data;
}

bool ZPixFilterBase::Start() {
    Stop();
    errorModule.Clear();
    errorFile.Clear();
    errorDescription.Clear();
    errorLine = 0;
    lacksMemory = false;
    if (scanLineFunction == nullptr) return Fail("ZPixFilterBase", __LINE__, L"The filter has no source of lines.");
    try {
        started = OnStart();
    } catch (const std::bad_alloc&) {
        Stop();
        return FailForMemory("ZPixFilterBase", __LINE__);
    } catch (...) {  // thrown by the source of lines
        Stop();
        throw;
    }
    if (!started) Stop();
    return started;
}

void ZPixFilterBase::Stop() {
    started = false;
    if (nextInputFormat) inputFormat = *std::exchange(nextInputFormat, std::nullopt);
    if (nextOutputFormat) outputFormat = *std::exchange(nextOutputFormat, std::nullopt);
}

bool ZPixFilterBase::IsReadyFor(unsigned line) {
    if (!started) {
        // A failed Start has told why; a missing one has not.
        if (errorDescription.IsEmpty()) Fail("ZPixFilterBase", __LINE__, L"The filter is not started.");
        return false;
    }
    if (line >= outputFormat.GetHeight()) return Fail("ZPixFilterBase", __LINE__, L"The picture has no such line.");
    return true;
}

bool ZPixFilterBase::PullLine(unsigned line, void* buffer) {
    if (scanLineFunction != nullptr && scanLineFunction(userData, line, buffer)) return true;
    return Fail("ZPixFilterBase", __LINE__, L"The filter's source gave no line.");
}

bool ZPixFilterBase::Fail(const char* file, int line, const wchar_t* description) {
    errorLine = line;
    lacksMemory = false;
    try {
        errorModule = L"ZPixFilteru";
        errorFile = file;
        errorDescription = description;
    } catch (const std::bad_alloc&) {}  // that it failed is told all the same
    return false;
}

bool ZPixFilterBase::FailForMemory(const char* file, int line) {
    Fail(file, line, L"Not enough memory for the filter.");
    lacksMemory = true;
    return false;
}

ZPixfPointwise::ZPixfPointwise() = default;
ZPixfPointwise::~ZPixfPointwise() = default;
bool ZPixfPointwise::CopyChanged(const std::uint8_t*, std::uint8_t*, std::size_t, shr::CopyWrites) noexcept {
    return false;
}

bool ZPixfPointwise::FilterScanline(unsigned line, void* buffer) {
    return IsReadyFor(line) && PullLine(line, buffer) &&
           ChangePixels(static_cast<std::uint8_t*>(buffer), outputFormat.GetWidth());
}

}  // namespace zpixf
