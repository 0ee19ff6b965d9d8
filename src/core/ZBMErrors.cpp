#include "zbm/ZBMLib2.h"

#include <cstdint>

namespace zbm {

const ZString& ModuleName() {
    static const ZString name(L"ZBMLib2");
    return name;
}

void Throw_ERR_ZBM_READ_ARCHIVE(const ZString& module, const ZString& sourceFile, int line) {
    throw shr::Exception(module, sourceFile, line, L"Error loading bitmap from external storage.", false);
}

void Throw_ERR_ZBM_WRITE_ARCHIVE(const ZString& module, const ZString& sourceFile, int line) {
    throw shr::Exception(module, sourceFile, line, L"Error saving bitmap to external storage.", false);
}

void Throw_ERR_ZBM_UNSUPPORTED_DIB_FORMAT(const ZString& module, const ZString& sourceFile, int line) {
    throw shr::Exception(module, sourceFile, line, L"Unsupported DIB format.", false);
}

bool SRProgress(shr::IProgress* progress, int tileRow, int tileCol, int numTileRows, int numTilesPerRow) {
    if (progress == nullptr) return true;
    const std::int64_t perRow = numTilesPerRow, all = numTileRows * perRow, done = tileRow * perRow + tileCol + 1;
    // A grid whose rows hold no tiles (a picture of width 0) is done as soon as it is walked.
    const double fraction = all == 0 ? 1.0 : static_cast<double>(done) / static_cast<double>(all);
    try {
        progress->SetProgress(fraction);
    } catch (const shr::AbortException&) { return false; }
    return true;
}

}  // namespace zbm
