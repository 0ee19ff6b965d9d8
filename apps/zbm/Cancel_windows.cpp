#include "Cancel.h"
#include "gdi/gdi.h"

namespace tool {

void InstallCancelHandler() {
    SetConsoleCtrlHandler(
        [](DWORD) -> BOOL {
            SetCancelRequested(true);
            return TRUE;
        },
        TRUE);
}

}  // namespace tool
