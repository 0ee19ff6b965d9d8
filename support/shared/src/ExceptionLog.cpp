#include "shr/Exception.h"
#include "shr/Logger.h"

namespace shr {
namespace {

constexpr int kErrorLevel = 4;

/// Where an exception was caught, and how to say so without allocating anything that could fail in turn.
struct Catcher {
    const ZString& module;
    const ZString& sourceFile;
    int line;
    const wchar_t* context;

    void Log(const char* what) const noexcept {
        g_Logger.SendVA(kErrorLevel, L"%s%sException caught: %hs\nModule %s, File %s, Line %d",
                        context == nullptr ? L"" : context, context == nullptr ? L"" : L"\n", what, module.c_str(),
                        sourceFile.c_str(), line);
    }
};

}  // namespace

void LogExceptionInfoAndRethrowIfUnknown(const ZString& module, const ZString& sourceFile, int line,
                                         const wchar_t* context) {
    const Catcher catcher{module, sourceFile, line, context};
    try {
        throw;
    } catch (const std::exception& exception) { catcher.Log(exception.what()); } catch (const AbortException&) {
        catcher.Log("Cancelled");
    } catch (...) {
        catcher.Log("Unknown exception");
        throw;
    }
}

}  // namespace shr
