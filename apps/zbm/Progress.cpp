#include "Progress.h"

#include <algorithm>

#include "Cancel.h"
#include "shr/Exception.h"

namespace tool {

namespace {

constexpr int kBarLength = 30;

std::string StatusLine(const std::string& title, int percent) {
    const auto filled = static_cast<std::size_t>(percent * kBarLength / 100);
    const std::string number = std::to_string(percent);
    return title + " [" + std::string(filled, '#') + std::string(kBarLength - filled, ' ') + "] " +
           std::string(3 - number.size(), ' ') + number + " %";
}

}  // namespace

void ConsoleProgress::StartTask(const ZString& text, int /*steps*/, int /*parentSteps*/) {
    title = text.ToUtf8();
    shownPercent = -1;
}

void ConsoleProgress::EndTask() { console.ClearStatus(); }

void ConsoleProgress::SetProgress(double fraction) {
    if (CancelRequested()) throw shr::AbortException();
    if (!console.ShowsStatus()) return;
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
    if (percent == shownPercent) return;
    shownPercent = percent;
    console.ShowStatus(StatusLine(title, percent));
}

}  // namespace tool
