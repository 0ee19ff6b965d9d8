#pragma once
// What an action raises, down to module, source file and line: callers know an error by these.
#include <gtest/gtest.h>

#include <string>

#include "zbm/ZBMLib2.h"

namespace testkit {

inline std::string Describe(const shr::Exception& error) {
    return error.GetModule().ToUtf8() + " " + error.GetSourceFile().ToUtf8() + " line " +
           std::to_string(error.GetLine()) + " \"" + error.GetMessageText().ToUtf8() + "\"";
}

inline constexpr int kAnyLine = -1;

inline bool IsAt(const shr::Exception& error, const wchar_t* sourceFile, int line) {
    return error.GetModule() == L"ZBMLib2" && error.GetSourceFile() == sourceFile &&
           (line == kAnyLine ? error.GetLine() > 0 : error.GetLine() == line);
}

/// Whether `act` raises an internal error of this library at that place. Its message must be empty.
template <class Act>
testing::AssertionResult RaisesInternalError(Act act, const wchar_t* sourceFile, int line = kAnyLine) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        if (IsAt(error, sourceFile, line) && error.GetMessageText().IsEmpty()) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    } catch (const shr::Exception& error) {
        return testing::AssertionFailure() << "raises no internal error but " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

/// Whether `act` raises one of the library's named errors at that place, with that text.
template <class Act>
testing::AssertionResult RaisesNamedError(Act act, const wchar_t* text, const wchar_t* sourceFile,
                                          int line = kAnyLine) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        return testing::AssertionFailure() << "raises the internal error " << Describe(error);
    } catch (const shr::Exception& error) {
        if (IsAt(error, sourceFile, line) && error.GetMessageText() == text && !error.IsReported())
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

inline constexpr const wchar_t* kReadArchiveText = L"Error loading bitmap from external storage.";
inline constexpr const wchar_t* kWriteArchiveText = L"Error saving bitmap to external storage.";
inline constexpr const wchar_t* kUnsupportedDibText = L"Unsupported DIB format.";

template <class Act>
testing::AssertionResult RaisesReadArchive(Act act, const wchar_t* sourceFile, int line = kAnyLine) {
    return RaisesNamedError(act, kReadArchiveText, sourceFile, line);
}

}  // namespace testkit
