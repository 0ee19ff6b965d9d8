#pragma once
#include <cstdint>
#include <memory>
#include <vector>

#include "ErrorContext.h"
#include "OutputFile.h"
#include "commands/MemoryLimit.h"
#include "commands/NewSize.h"
#include "pictures/PictureOptions.h"
#include "shr/Color4b.h"
#include "shr/IProgress.h"
#include "shr/TempFile.h"
#include "zbm/ZBitmap.h"

namespace tool {

/// Shared, since a reduction lives as long as the bitmap that owns it.
using BitmapPtr = std::shared_ptr<zbm::ZBitmap>;

/// A bitmap to be made, without pixels.
struct Blank {
    BitmapShape shape{};
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;  ///< 0 is not known, and stays so
    std::vector<shr::Color4b> colors;
    std::uint64_t otherBytes = 0;  ///< of memory that is needed beside it
};

/// Where a command's bitmaps live while it works on them: in memory, or each in a file.
class Workplace {
public:
    virtual ~Workplace() = default;
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    /// How many pixels a bitmap here may have.
    virtual std::uint64_t MostPixels(const ReadOptions& options) const = 0;
    /// What reads as zero, its mask as opaque.
    virtual BitmapPtr Make(const Blank& blank) = 0;
    /// The whole source at another size.
    virtual BitmapPtr Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method,
                             shr::IProgress& progress) = 0;
    /// The bitmap, or a copy of it where it is the input itself, which is never changed.
    virtual BitmapPtr MakeWritable(BitmapPtr bitmap, shr::IProgress& progress) = 0;
    /// To be called after a change: builds the reductions that go with the bitmap from now on.
    virtual void BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) = 0;

    /// The names under which the command's files are open: for the errors that tell them.
    const FileAliases& Names() const noexcept { return names; }
    void AddName(const ZString& openAs, const ZString& shownAs) { names.push_back({openAs, shownAs}); }

protected:
    Workplace() = default;

private:
    FileAliases names;
};

class InMemory final : public Workplace {
public:
    std::uint64_t MostPixels(const ReadOptions& options) const override;
    BitmapPtr Make(const Blank& blank) override;
    BitmapPtr Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) override;
    BitmapPtr MakeWritable(BitmapPtr bitmap, shr::IProgress& progress) override;
    void BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) override;
};

/// Of a bitmap there is never more in memory than a row of tiles. The files lie beside the output, where there must be
/// room for it anyway, and are gone when the workplace is; bitmaps must be gone before.
class InFiles final : public Workplace {
public:
    /// `output` is borrowed.
    explicit InFiles(const OutputFile& output);

    std::uint64_t MostPixels(const ReadOptions& options) const override;
    BitmapPtr Make(const Blank& blank) override;
    BitmapPtr Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) override;
    BitmapPtr MakeWritable(BitmapPtr bitmap, shr::IProgress& progress) override;
    void BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) override;

    /// Makes the bitmap the output's content, and leaves no other owner of it with a bitmap that is open.
    void Deliver(BitmapPtr bitmap, bool withLevels, OutputFile& file, shr::IProgress& progress);

private:
    ZString NewFile();
    bool IsMine(const zbm::ZBitmap& bitmap) const;
    BitmapPtr Copy(zbm::ZBitmap& source, shr::IProgress& progress);

    const OutputFile& output;
    std::vector<std::unique_ptr<shr::TempFile>> files;
};

}  // namespace tool
