#include "shr/Exception.h"

namespace shr {
namespace {

/// "Cannot open the file "x". (Shared, BufferedFile, line 12)"
std::string Readable(const ZString& module, const ZString& sourceFile, int line, const ZString& message) {
    std::string utf8 = message.IsEmpty() ? "Internal error" : message.ToUtf8();
    utf8 += " (" + module.ToUtf8() + ", " + sourceFile.ToUtf8() + ", line " + std::to_string(line) + ")";
    return utf8;
}

}  // namespace

Exception::Exception(const ZString& inModule, const ZString& inFile, int atLine, const ZString& text, bool isReported)
    : module(inModule),
      sourceFile(inFile),
      line(atLine),
      message(text),
      reported(isReported),
      utf8(Readable(inModule, inFile, atLine, text)) {}
Exception::~Exception() = default;
Exception::Exception(const Exception&) = default;
Exception& Exception::operator=(const Exception&) = default;

const char* Exception::what() const noexcept { return utf8.c_str(); }

InternalError::InternalError(const ZString& inModule, const ZString& inFile, int atLine)
    : Exception(inModule, inFile, atLine, ZString(), false) {}
InternalError::InternalError(const ZString& inModule, const ZString& inFile, int atLine, const char* whatMustHold)
    : InternalError(inModule, inFile, atLine) {
    utf8 = std::string(whatMustHold) + " (" + inFile.ToUtf8() + ", line " + std::to_string(atLine) + ")";
}
InternalError::~InternalError() = default;
InternalError::InternalError(const InternalError&) = default;
InternalError& InternalError::operator=(const InternalError&) = default;

AbortException::AbortException() noexcept = default;
AbortException::AbortException(const AbortException&) noexcept = default;
AbortException& AbortException::operator=(const AbortException&) noexcept = default;
AbortException::~AbortException() = default;

void ThrowInternalError(const ZString& module, const ZString& sourceFile, int line) {
    throw InternalError(module, sourceFile, line);
}

void ThrowInternalError(const ZString& module, const ZString& sourceFile, int line, const char* whatMustHold) {
    throw InternalError(module, sourceFile, line, whatMustHold);
}

}  // namespace shr
