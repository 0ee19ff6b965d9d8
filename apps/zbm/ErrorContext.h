#pragma once
#include <new>
#include <string>

#include "Console.h"
#include "shr/Exception.h"

namespace tool {

/// The error's text for a line that begins with `file`'s name: `file` is not named once more, nor is `alias`, a name
/// that the user has never heard of.
std::string TextOf(const shr::Exception& error, const ZString& file, const ZString& alias);

/// Executes `action`, which is about `file`, and turns whatever it raises into a ToolError that says so. A ToolError
/// and a cancelling pass as they are. `alias` is the name under which the file is open, if that is another.
template <class Action>
auto InContextOf(const ZString& file, const Action& action, const ZString& alias = {}) {
    try {
        return action();
    } catch (const ToolError&) { throw; } catch (const shr::Exception& error) {
        throw ToolError(file, TextOf(error, file, alias));
    } catch (const std::bad_alloc&) {
        throw ToolError(file, "there is not enough memory");
    } catch (const std::exception& error) { throw ToolError(file, error.what()); }
}

}  // namespace tool
