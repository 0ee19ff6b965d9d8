#pragma once
// What an action raises, down to module, source file and line: callers know an error by these.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "core/Checks.h"
#include "zbm/ZBMLib2.h"

namespace testkit {

inline std::string Describe(const shr::Exception& error) {
    return error.GetModule().ToUtf8() + " " + error.GetSourceFile().ToUtf8() + " line " +
           std::to_string(error.GetLine()) + " \"" + error.GetMessageText().ToUtf8() + "\": " + error.what();
}

inline constexpr int kAnyLine = -1;

inline bool IsAt(const shr::Exception& error, const wchar_t* sourceFile, int line) {
    return error.GetModule() == L"ZBMLib2" && error.GetSourceFile() == sourceFile &&
           (line == kAnyLine ? error.GetLine() > 0 : error.GetLine() == line);
}
inline bool IsAt(const shr::Exception& error, zbm::Check check) {
    return IsAt(error, shr::ZString(check.Source()).c_str(), check.Line());
}

/// Whether `act` raises an internal error that `isExpected`, and without message.
template <class Act, class IsExpected>
testing::AssertionResult RaisesInternalErrorThat(Act act, IsExpected isExpected) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        if (isExpected(error) && error.GetMessageText().IsEmpty()) return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    } catch (const shr::Exception& error) {
        return testing::AssertionFailure() << "raises no internal error but " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

/// Whether `act` raises the internal error of that check, whose what() says what must hold.
template <class Act>
testing::AssertionResult RaisesInternalError(Act act, zbm::Check check) {
    return RaisesInternalErrorThat(act, [&](const shr::InternalError& error) {
        return IsAt(error, check) && std::string_view(error.what()).starts_with(check.Row().text);
    });
}

/// The same at any place of that source, or at a line that no check of ours has.
template <class Act>
testing::AssertionResult RaisesInternalError(Act act, const wchar_t* sourceFile, int line = kAnyLine) {
    return RaisesInternalErrorThat(act, [&](const shr::InternalError& error) { return IsAt(error, sourceFile, line); });
}

/// Whether `act` raises one of the library's named errors, with that text, that `isExpected`.
template <class Act, class IsExpected>
testing::AssertionResult RaisesNamedErrorThat(Act act, const wchar_t* text, IsExpected isExpected) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        return testing::AssertionFailure() << "raises the internal error " << Describe(error);
    } catch (const shr::Exception& error) {
        if (isExpected(error) && error.GetMessageText() == text && !error.IsReported())
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

template <class Act>
testing::AssertionResult RaisesNamedError(Act act, const wchar_t* text, zbm::Check check) {
    return RaisesNamedErrorThat(act, text, [&](const shr::Exception& error) { return IsAt(error, check); });
}
template <class Act>
testing::AssertionResult RaisesNamedError(Act act, const wchar_t* text, const wchar_t* sourceFile,
                                          int line = kAnyLine) {
    return RaisesNamedErrorThat(act, text, [&](const shr::Exception& error) { return IsAt(error, sourceFile, line); });
}

inline constexpr const wchar_t* kReadArchiveText = L"Error loading bitmap from external storage.";
inline constexpr const wchar_t* kWriteArchiveText = L"Error saving bitmap to external storage.";
inline constexpr const wchar_t* kUnsupportedDibText = L"Unsupported DIB format.";

template <class Act>
testing::AssertionResult RaisesReadArchive(Act act, zbm::Check check) {
    return RaisesNamedError(act, kReadArchiveText, check);
}
template <class Act>
testing::AssertionResult RaisesReadArchive(Act act, const wchar_t* sourceFile, int line = kAnyLine) {
    return RaisesNamedError(act, kReadArchiveText, sourceFile, line);
}

}  // namespace testkit
