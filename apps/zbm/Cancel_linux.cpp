#include <csignal>
#include <initializer_list>

#include "Cancel.h"

namespace tool {

void InstallCancelHandler() {
    struct sigaction action {};
    action.sa_handler = [](int) { SetCancelRequested(true); };
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    // Writing past a limit or to a reader that is gone is an error to report, after cleaning up.
    for (const int signal : {SIGXFSZ, SIGPIPE}) std::signal(signal, SIG_IGN);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction former {};
        sigaction(signal, nullptr, &former);
        // What was ignored when the program started (nohup, a background job of a script) stays ignored.
        if (former.sa_handler != SIG_IGN) sigaction(signal, &action, nullptr);
    }
}

}  // namespace tool
