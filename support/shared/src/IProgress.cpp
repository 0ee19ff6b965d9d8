#include "shr/IProgress.h"

#include "shr/Logger.h"

namespace shr {

CScopedIProgressTask::CScopedIProgressTask(IProgress* target, const ZString& text) : progress(target) {
    if (progress != nullptr) progress->StartTask(text, 1, 1);
}

CScopedIProgressTask::~CScopedIProgressTask() {
    if (progress == nullptr) return;
    try {
        progress->EndTask();
    } catch (...) {
        g_Logger.SendVA(4, L"Unknown exception caught by CScopedIProgressTask dtor\nModule %s, File %s, Line %d",
                        L"Shared", L"IProgress", 108);
    }
}

}  // namespace shr
