#include "pictures/PictureSource.h"

#include <stdexcept>

#include "Cancel.h"
#include "InputFile.h"
#include "shr/Exception.h"

namespace tool {

PictureSource::PictureSource(const ZString& fileName)
    : name(fileName), file(OpenInput(name)), length(file.GetLength()) {}

std::size_t PictureSource::Read(void* destination, std::size_t byteCount) {
    if (CancelRequested()) throw shr::AbortException();
    return file.Read(destination, byteCount);
}

void PictureSource::ReadExactly(void* destination, std::size_t byteCount) {
    if (Read(destination, byteCount) != byteCount) throw std::runtime_error(kEndsTooEarly);
}

void PictureSource::RefuseUnlessHolding(std::uint64_t leastBytes, int width, int height) const {
    if (leastBytes <= static_cast<std::uint64_t>(length)) return;
    throw std::runtime_error("the file is too short for its picture of " + std::to_string(width) + " x " +
                             std::to_string(height) + " pixels");
}

}  // namespace tool
