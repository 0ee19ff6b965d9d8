#include "TempName.h"

#include <random>
#include <string_view>

namespace shr {

ZString RandomTempName() {
    constexpr std::wstring_view kLetters = L"abcdefghijklmnopqrstuvwxyz0123456789";
    constexpr int kLength = 16;
    std::random_device random;
    std::uniform_int_distribution<std::size_t> index(0, kLetters.size() - 1);
    ZString name = L"zv";
    for (int i = 0; i < kLength; ++i) name += kLetters[index(random)];
    return name + L".tmp";
}

}  // namespace shr
