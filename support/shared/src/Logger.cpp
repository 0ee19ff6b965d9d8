#include "shr/Logger.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include "FormatWide.h"

namespace shr {
namespace {

void WriteToStandardError(const ZString& text) {
    const std::string line = text.ToUtf8() + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);  // one call, so that lines of threads do not mix
}

}  // namespace

Logger::~Logger() = default;

void Logger::SendVA(int level, const wchar_t* format, ...) noexcept {
    std::va_list arguments;
    va_start(arguments, format);
    try {
        Send(level, ZString(FormatWide(format, arguments)));
    } catch (...) {
        // There is nobody left to tell.
    }
    va_end(arguments);
}

void Logger::Send(int level, const ZString& text) noexcept {
    try {
        if (sink) {
            (*sink)(level, text);
        } else {
            WriteToStandardError(text);
        }
    } catch (...) {
        // As above.
    }
}

Logger::Sink Logger::SetSink(Sink newSink) {
    auto replacement = newSink ? std::make_unique<Sink>(std::move(newSink)) : nullptr;
    const auto former = std::exchange(sink, std::move(replacement));
    return former ? std::move(*former) : Sink();
}

namespace {

/// Never destroyed, since other modules log while they are being unloaded.
union Immortal {
    constexpr Immortal() : logger() {}
    ~Immortal() {}
    Logger logger;
};
constinit Immortal immortal;  // made by no code, since static objects of other files log while they are being made

}  // namespace

Logger& g_Logger = immortal.logger;

}  // namespace shr
