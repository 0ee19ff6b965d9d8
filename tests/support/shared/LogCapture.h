#pragma once
#include <string>
#include <utility>
#include <vector>

#include "shr/Logger.h"

namespace shr::test {

/// Collects what is logged while it lives, then puts the former sink back.
class LogCapture {
public:
    struct Line {
        int level;
        std::wstring text;
        friend bool operator==(const Line&, const Line&) = default;
    };

    LogCapture()
        : former(g_Logger.SetSink([this](int level, const ZString& text) {
              lines.push_back({level, text.Wide()});
          })) {}
    ~LogCapture() { g_Logger.SetSink(std::move(former)); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    const std::vector<Line>& Lines() const { return lines; }

private:
    std::vector<Line> lines;
    Logger::Sink former;
};

}  // namespace shr::test
