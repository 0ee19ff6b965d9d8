#include "Host.h"
#include "gdi/gdi.h"

// After windows.h, which it needs.
#include <shellapi.h>

#include <fcntl.h>
#include <io.h>
#include <algorithm>
#include <cstdio>

namespace tool {

namespace {

/// A file or folder, for a look at what it is.
HANDLE OpenBehindLinks(const ZString& name) {
    return CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                       FILE_FLAG_BACKUP_SEMANTICS, nullptr);
}

}  // namespace

std::vector<std::string> Arguments(int /*argc*/, char** /*argv*/) {
    // The narrow arguments have lost every character that the system's code page lacks.
    std::vector<std::string> arguments;
    int count = 0;
    wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr) return arguments;
    for (int i = 1; i < count; ++i) arguments.push_back(ZString(wide[i]).ToUtf8());
    LocalFree(wide);
    return arguments;
}

void PrepareConsole() { SetConsoleOutputCP(CP_UTF8); }

void PrepareBinaryOutput() { _setmode(_fileno(stdout), _O_BINARY); }

int ErrorsWidth() {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    const bool isConsole = GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info) != 0;
    return isConsole ? info.srWindow.Right - info.srWindow.Left + 1 : 0;
}

namespace {

std::uint64_t MemoryOfMachine() {
    MEMORYSTATUSEX status{};
    status.dwLength = sizeof status;
    return GlobalMemoryStatusEx(&status) != 0 ? status.ullTotalPhys : UINT64_MAX;
}

/// Of the job to which the process belongs, if it does.
std::uint64_t MemoryOfJob() {
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    if (QueryInformationJobObject(nullptr, JobObjectExtendedLimitInformation, &limits, sizeof limits, nullptr) == 0)
        return UINT64_MAX;
    const DWORD set = limits.BasicLimitInformation.LimitFlags;
    std::uint64_t memory = UINT64_MAX;
    if ((set & JOB_OBJECT_LIMIT_JOB_MEMORY) != 0) memory = limits.JobMemoryLimit;
    if ((set & JOB_OBJECT_LIMIT_PROCESS_MEMORY) != 0)
        memory = std::min<std::uint64_t>(memory, limits.ProcessMemoryLimit);
    return memory;
}

}  // namespace

std::uint64_t UsableMemory() {
    static const std::uint64_t usable = std::min(MemoryOfMachine(), MemoryOfJob());
    return usable;
}

FileKind KindOf(const ZString& name) {
    const DWORD attributes = GetFileAttributesW(name.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::missing;
    if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        const HANDLE file = OpenBehindLinks(name);
        const DWORD error = GetLastError();
        if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
        if (file == INVALID_HANDLE_VALUE && (error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND))
            return FileKind::danglingLink;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::folder;
    return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::other : FileKind::regular;
}

}  // namespace tool
