#pragma once
#include "shr/BufferedFile.h"
#include "shr/IProgress.h"

namespace tool {

/// Walks through the archive of a bitmap in memory, from the file's position on, and decodes every block of it for a
/// trial: loading does not tell of a damaged block but gives zeroes for it, and whoever unpacks an archive wants to
/// know.
///
/// Raises std::runtime_error with a text for the user, also for an archive whose bitmap this machine cannot hold.
void CheckArchive(shr::CBufferedFile& file, shr::IProgress& progress);

}  // namespace tool
