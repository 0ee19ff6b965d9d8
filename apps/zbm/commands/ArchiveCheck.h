#pragma once
#include "shr/BufferedFile.h"
#include "shr/IProgress.h"

namespace tool {

/// Which class of bitmap an archive was made of.
enum class ArchiveKind { plain, withReductions };

/// Walks through the archive of a bitmap in memory, and decodes every block of it for a trial: loading does not tell of
/// a damaged block but gives zeroes for it, and whoever unpacks an archive wants to know.
///
/// Raises std::runtime_error with a text for the user, also for an archive whose bitmap this machine cannot hold.
ArchiveKind CheckArchive(shr::CBufferedFile& file, shr::IProgress& progress);

}  // namespace tool
