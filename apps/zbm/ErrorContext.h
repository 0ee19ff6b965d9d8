#pragma once
#include <new>
#include <string>
#include <vector>

#include "Console.h"
#include "shr/Exception.h"

namespace tool {

/// A name that an error's text may tell, or, with a separator at its end, a folder of such names, and the file of which
/// the user is told instead.
struct FileAlias {
    ZString openAs, shownAs;
};
using FileAliases = std::vector<FileAlias>;

/// The error as one about `file`, or, where its text tells one of the aliases, about the file that this stands for. The
/// text names neither once more.
ToolError ErrorAbout(const ZString& file, const shr::Exception& error, const FileAliases& aliases);

/// Executes `action`, which is about `file`, and turns whatever it raises into a ToolError that says so. A ToolError
/// and a cancelling pass as they are. `aliases` are the names under which this and other files are open meanwhile.
template <class Action>
auto InContextOf(const ZString& file, const Action& action, const FileAliases& aliases = {}) {
    try {
        return action();
    } catch (const ToolError&) { throw; } catch (const shr::Exception& error) {
        throw ErrorAbout(file, error, aliases);
    } catch (const std::bad_alloc&) {
        throw ToolError(file, "there is not enough memory");
    } catch (const std::exception& error) { throw ToolError(file, error.what()); }
}

}  // namespace tool
