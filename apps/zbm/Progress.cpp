#include "Progress.h"

#include <algorithm>

#include "Cancel.h"
#include "shr/Exception.h"

namespace tool {

namespace {

constexpr std::size_t kLongestBar = 30, kShortestBar = 5;

/// "title [####    ]  50 %" in `room` characters: a narrow terminal gets a shorter bar, or none.
std::string StatusLine(const std::string& title, std::size_t percent, std::size_t room) {
    std::string number = std::to_string(percent) + " %";
    number.insert(0, 6 - number.size(), ' ');  // so that the line does not jump
    const std::size_t besideBar = title.size() + 3 + number.size();
    if (room < besideBar + kShortestBar) return title.substr(0, room - std::min(room, number.size())) + number;
    const std::size_t length = std::min(kLongestBar, room - besideBar), filled = percent * length / 100;
    return title + " [" + std::string(filled, '#') + std::string(length - filled, ' ') + "]" + number;
}

}  // namespace

void ConsoleProgress::StartTask(const ZString& text, int /*steps*/, int /*parentSteps*/) {
    title = text.ToUtf8();
    shownPercent = -1;
}

void ConsoleProgress::EndTask() { console.ClearStatus(); }

void ConsoleProgress::SetProgress(double fraction) {
    if (CancelRequested()) throw shr::AbortException();
    const int percent = static_cast<int>(std::clamp(fraction, 0.0, 1.0) * 100);
    if (percent == shownPercent) return;
    shownPercent = percent;
    if (const std::size_t room = console.StatusWidth(); room != 0)
        console.ShowStatus(StatusLine(title, static_cast<std::size_t>(percent), room));
}

}  // namespace tool
