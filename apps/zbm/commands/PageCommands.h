#pragma once
#include "commands/Commands.h"

// Commands about bitmaps in files. They raise ToolError for what goes wrong, and shr::AbortException when cancelled;
// then they leave nothing behind but what a file was before, or its pixels without reductions.
namespace tool {

struct PageOptions {
    Input input;
    Output output;
};

struct LevelsOptions {
    ZString file;
    bool rebuild = false;
};

/// Of a level, in its pixels.
struct ViewRect {
    int x = 0, y = 0, width = 0, height = 0;
};

struct ViewOptions {
    Input input;
    Output output;
    unsigned level = 0;
    std::optional<ViewRect> rect;  ///< the whole level if not given
};

struct CleanTempOptions {
    ZString folder;  ///< the system's for temporary files if empty
};

/// Picture file to bitmap in a file, by rows: the picture is never in memory.
void Page(const PageOptions& options, const Streams& streams);
/// Builds the reductions where they are missing or stale, in the file itself.
void BuildLevels(const LevelsOptions& options, const Streams& streams);
/// A part of a level as a file of its own.
void View(const ViewOptions& options, const Streams& streams);
/// Removes temporary bitmaps that killed programs have left.
void CleanTemp(const CleanTempOptions& options, const Streams& streams);

}  // namespace tool
