#pragma once
#include <limits>
#include <string>
#include <vector>

#include "shr/Exception.h"
#include "shr/IProgress.h"

namespace testkit {

/// Writes down what is reported to it, and cancels at the report of that number (counted from 1).
class TestProgress : public shr::IProgress {
public:
    explicit TestProgress(int cancelAtReport = std::numeric_limits<int>::max()) : cancelAt(cancelAtReport) {}

    void StartTask(const shr::ZString& text, int steps, int parentSteps) override {
        tasks.push_back({text, steps, parentSteps});
        ++openTasks;
    }
    void EndTask() override { --openTasks; }
    void SetProgress(double fraction) override {
        fractions.push_back(fraction);
        if (static_cast<int>(fractions.size()) == cancelAt) throw shr::AbortException();
    }

    std::vector<std::string> TaskTexts() const {
        std::vector<std::string> texts;
        for (const Task& task : tasks) texts.push_back(task.text.ToUtf8());
        return texts;
    }

    struct Task {
        shr::ZString text;
        int steps, parentSteps;
    };
    std::vector<Task> tasks;
    std::vector<double> fractions;
    int openTasks = 0;

private:
    int cancelAt;
};

}  // namespace testkit
