#include "file/SignatureBlock.h"

#include <cstring>

#include "file/LittleEndian.h"
#include "shr/BufferedFile.h"

namespace zbm {

void SignatureBlock::Write(shr::CBufferedFile& file) const {
    LittleEndianWriter block(kBytes);
    block.Bytes(text, kTextBytes);
    block.I32(kVersion);
    file.Write(block.Result().data(), kBytes);
}

bool SignatureBlock::Read(shr::CBufferedFile& file) const {
    std::uint8_t version[4];
    if (!ReadText(file) || file.Read(version, sizeof version) != sizeof version) return false;
    std::int32_t number;
    LittleEndianReader(version).I32(number);
    return number == kVersion;
}

bool SignatureBlock::ReadText(shr::CBufferedFile& file) const {
    char found[kTextBytes];
    return file.Read(found, kTextBytes) == kTextBytes && std::memcmp(found, text, kTextBytes) == 0;
}

}  // namespace zbm
