#pragma once
#include <utility>

#include "ErrorContext.h"
#include "OutputFile.h"
#include "Progress.h"
#include "commands/BitmapFile.h"
#include "commands/Commands.h"

namespace tool {

/// Reads the input, has `edit` (bitmap, workplace, progress) give the result, and writes that.
template <class Edit>
void EditFile(const Input& input, const Output& output, const Streams& streams, const Edit& edit) {
    ConsoleProgress progress(streams.console);
    OutputFile file(output.name, streams.out);  // first, so that a name that cannot be written is told early
    const std::unique_ptr<Workplace> place = WorkplaceFor(input, output, file);
    Picture picture = ReadAny(input, *place, streams.console, progress);
    const auto replace = [&] { picture.bitmap = edit(std::move(picture.bitmap), *place, progress); };
    InContextOf(input.name, replace, place->Names());
    WritePicture(std::move(picture), output, file, *place, streams.console, progress);
}

}  // namespace tool
