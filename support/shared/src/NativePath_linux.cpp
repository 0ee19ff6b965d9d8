#include "NativePath.h"

namespace shr {

std::string NativePath(const ZString& name) {
    std::string path = name.ToUtf8();
    if (path.find('\0') != std::string::npos) path.clear();
    return path;
}

}  // namespace shr
