#pragma once
#include <string>

#include "Console.h"
#include "shr/IProgress.h"

namespace tool {

/// Shows how far a command is on the console's status line, and cancels it when the user asked for that.
class ConsoleProgress final : public shr::IProgress {
public:
    explicit ConsoleProgress(Console& target) : console(target) {}

    void StartTask(const ZString& text, int steps, int parentSteps) override;
    void EndTask() override;
    /// Cheap enough for every row of a picture. Throws shr::AbortException once cancelling was requested.
    void SetProgress(double fraction) override;

private:
    Console& console;
    std::string title;
    int shownPercent = -1;
};

}  // namespace tool
