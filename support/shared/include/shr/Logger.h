#pragma once
#include <functional>
#include <memory>

#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// Where the libraries say what they cannot throw. Levels grow with severity: 1 detail, 2 information, 3 warning,
/// 4 error.
class SHR_API Logger {
public:
    using Sink = std::function<void(int level, const ZString& text)>;

    constexpr Logger() noexcept = default;
    ~Logger();
    Logger(const Logger&) = delete;
    Logger& operator=(const Logger&) = delete;

    /// Formats as printf does, with one difference: `%s` and `%c` mean wide text on every system (`%hs` is narrow, in
    /// UTF-8). Never throws: what goes wrong in formatting or in the sink is dropped.
    void SendVA(int level, const wchar_t* format, ...) noexcept;
    void Send(int level, const ZString& text) noexcept;

    /// Replaces the sink and returns the one before. An empty sink means the default, which writes a line in UTF-8 to
    /// the standard error stream. Not to be called while another thread may log.
    Sink SetSink(Sink sink);

private:
    std::unique_ptr<Sink> sink;  // none means the default
};

/// Works from before the first static object is made until after the last is gone.
SHR_API extern Logger& g_Logger;

}  // namespace shr
