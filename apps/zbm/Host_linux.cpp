#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <initializer_list>
#include <stdexcept>

#include "ContainerMemory_linux.h"
#include "Host.h"

namespace tool {

std::vector<std::string> Arguments(int argc, char** argv) { return {argv + (argc > 0 ? 1 : 0), argv + argc}; }

void PrepareConsole() {
    // A new file gets the lowest free descriptor. Where a standard stream is closed that would be the stream's, and
    // messages would go into the file. What takes the place can be neither read nor written, as if it were closed.
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(stream, F_GETFD) == -1 && open("/", O_PATH) != stream) throw std::runtime_error("no descriptor");
}

void PrepareBinaryOutput() {}

int ErrorsWidth() {
    constexpr int kUsualWidth = 80;
    if (isatty(STDERR_FILENO) != 1) return 0;
    winsize size{};
    const bool known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0;
    return known ? size.ws_col : kUsualWidth;
}

namespace {

std::uint64_t MemoryOfMachine() {
    return static_cast<std::uint64_t>(sysconf(_SC_PHYS_PAGES)) * static_cast<std::uint64_t>(sysconf(_SC_PAGE_SIZE));
}

std::uint64_t AddressSpace() {
    rlimit limit{};
    return getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY ? limit.rlim_cur : UINT64_MAX;
}

}  // namespace

std::uint64_t UsableMemory() {
    static const std::uint64_t usable = std::min({MemoryOfMachine(), AddressSpace(), ContainerMemory()});
    return usable;
}

FileKind KindOf(const ZString& name) {
    struct stat status {};
    const std::string path = name.ToUtf8();
    if (stat(path.c_str(), &status) != 0) {
        const bool isLink = lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
        return isLink ? FileKind::danglingLink : FileKind::missing;
    }
    if (S_ISREG(status.st_mode)) return FileKind::regular;
    return S_ISDIR(status.st_mode) ? FileKind::folder : FileKind::other;
}

}  // namespace tool
