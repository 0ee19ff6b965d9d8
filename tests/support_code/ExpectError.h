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

inline bool IsAt(const shr::Exception& error, zbm::Check check) {
    return error.GetModule() == L"ZBMLib2" && error.GetSourceFile() == check.Source() &&
           error.GetLine() == check.Line();
}

/// Whether `act` raises the internal error of that check. Its message must be empty, and what() say what must hold.
template <class Act>
testing::AssertionResult RaisesInternalError(Act act, zbm::Check check) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        if (IsAt(error, check) && error.GetMessageText().IsEmpty() &&
            std::string_view(error.what()).starts_with(check.Row().text))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    } catch (const shr::Exception& error) {
        return testing::AssertionFailure() << "raises no internal error but " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

/// Whether `act` raises one of the library's named errors, with that text, for that check.
template <class Act>
testing::AssertionResult RaisesNamedError(Act act, const wchar_t* text, zbm::Check check) {
    try {
        act();
    } catch (const shr::InternalError& error) {
        return testing::AssertionFailure() << "raises the internal error " << Describe(error);
    } catch (const shr::Exception& error) {
        if (IsAt(error, check) && error.GetMessageText() == text && !error.IsReported())
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << "raises " << Describe(error);
    }
    return testing::AssertionFailure() << "raises nothing";
}

inline constexpr const wchar_t* kReadArchiveText = L"Error loading bitmap from external storage.";
inline constexpr const wchar_t* kWriteArchiveText = L"Error saving bitmap to external storage.";
inline constexpr const wchar_t* kUnsupportedDibText = L"Unsupported DIB format.";

template <class Act>
testing::AssertionResult RaisesReadArchive(Act act, zbm::Check check) {
    return RaisesNamedError(act, kReadArchiveText, check);
}

}  // namespace testkit
