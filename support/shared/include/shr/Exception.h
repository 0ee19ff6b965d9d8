#pragma once
#include <exception>
#include <string>

#include "shr/Export.h"
#include "shr/ZString.h"

namespace shr {

/// An error with the place that raised it. what() is the message and the place in UTF-8.
class SHR_API Exception : public std::exception {
public:
    /// `reported` tells that the user has been told already.
    Exception(const ZString& module, const ZString& sourceFile, int line, const ZString& message, bool reported);
    ~Exception() override;
    Exception(const Exception&);
    Exception& operator=(const Exception&);

    const char* what() const noexcept override;
    const ZString& GetModule() const noexcept { return module; }
    const ZString& GetSourceFile() const noexcept { return sourceFile; }
    int GetLine() const noexcept { return line; }
    const ZString& GetMessageText() const noexcept { return message; }
    bool IsReported() const noexcept { return reported; }
    void SetReported(bool value) noexcept { reported = value; }

private:
    friend class InternalError;  // which has a text of its own for what()

    ZString module, sourceFile;
    int line;
    ZString message;
    bool reported;
    std::string utf8;  // what() must not fail, so it is made at once
};

/// A broken precondition: an error of the program, not of its data. Its message is empty; what() says in words what
/// must hold, where whoever raised it did: "brightness must be from -1 to 1 (zbmbitmap, line 1111)".
class SHR_API InternalError : public Exception {
public:
    InternalError(const ZString& module, const ZString& sourceFile, int line);
    /// `whatMustHold` is UTF-8, without full stop.
    InternalError(const ZString& module, const ZString& sourceFile, int line, const char* whatMustHold);
    ~InternalError() override;
    InternalError(const InternalError&);
    InternalError& operator=(const InternalError&);
};

/// Thrown by a progress target to cancel the operation that reports to it. Not an error, and so not an Exception.
class SHR_API AbortException {
public:
    AbortException() noexcept;
    AbortException(const AbortException&) noexcept;
    AbortException& operator=(const AbortException&) noexcept;
    virtual ~AbortException();
};

[[noreturn]] SHR_API void ThrowInternalError(const ZString& module, const ZString& sourceFile, int line);
[[noreturn]] SHR_API void ThrowInternalError(const ZString& module, const ZString& sourceFile, int line,
                                             const char* whatMustHold);

// File errors. `name` is the file or folder; `systemText` is FormatSystemErrorMsg() of the failed call. The message is
// one line that names the file.
[[noreturn]] SHR_API void Throw_ERR_SHR_BADFILE(const ZString& module, const ZString& sourceFile, int line,
                                                const ZString& name);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_FIND(const ZString& module, const ZString& sourceFile, int line,
                                                  const ZString& name);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_READ_ONLY(const ZString& module, const ZString& sourceFile, int line,
                                                       const ZString& name);
[[noreturn]] SHR_API void Throw_ERR_SHR_TEMPFILE_CREATE(const ZString& module, const ZString& sourceFile, int line,
                                                        const ZString& folder);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_CREATE(const ZString& module, const ZString& sourceFile, int line,
                                                    const ZString& name, const ZString& systemText);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_OPEN(const ZString& module, const ZString& sourceFile, int line,
                                                  const ZString& name, const ZString& systemText);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_DELETE(const ZString& module, const ZString& sourceFile, int line,
                                                    const ZString& name, const ZString& systemText);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_READ(const ZString& module, const ZString& sourceFile, int line,
                                                  const ZString& name, const ZString& systemText);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_WRITE(const ZString& module, const ZString& sourceFile, int line,
                                                   const ZString& name, const ZString& systemText);
[[noreturn]] SHR_API void Throw_ERR_SHR_FILE_SEEK(const ZString& module, const ZString& sourceFile, int line,
                                                  const ZString& name, const ZString& systemText);
/// Not enough memory for an operation that reports so through a return value.
[[noreturn]] SHR_API void Throw_ERR_SHR_NOGLOBALMEM(const ZString& module, const ZString& sourceFile, int line);

/// The code of the calling thread's last failed system call: errno, or GetLastError() on Windows.
SHR_API int LastSystemError() noexcept;
/// The system's text for an error code, without a line end.
SHR_API ZString FormatSystemErrorMsg(int code);
inline ZString FormatSystemErrorMsg() { return FormatSystemErrorMsg(LastSystemError()); }

/// For use inside a catch (...) block: logs the exception in flight at level 4, with the place that caught it.
/// `context`, if not null, says in addition what was going on. Returns for shr::Exception, AbortException and
/// std::exception; rethrows whatever else it is.
SHR_API void LogExceptionInfoAndRethrowIfUnknown(const ZString& module, const ZString& sourceFile, int line,
                                                 const wchar_t* context);

}  // namespace shr
