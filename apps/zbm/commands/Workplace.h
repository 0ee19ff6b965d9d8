#pragma once
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "ErrorContext.h"
#include "OutputFile.h"
#include "commands/MemoryLimit.h"
#include "commands/NewSize.h"
#include "commands/TemporaryFolder.h"
#include "shr/Color4b.h"
#include "shr/IProgress.h"
#include "zbm/ZBitmap.h"

namespace tool {

/// Shared, since a reduction lives as long as the bitmap that owns it.
using BitmapPtr = std::shared_ptr<zbm::ZBitmap>;

inline constexpr int kTileSide = 512;  ///< of the tiles of new bitmaps

struct TileSize {
    int width = kTileSide, height = kTileSide;
};

/// A bitmap to be made, without pixels.
struct Blank {
    BitmapShape shape{};
    int xPixelsPerMeter = 0, yPixelsPerMeter = 0;  ///< 0 is not known, and stays so
    std::vector<shr::Color4b> colors;
    std::uint64_t otherBytes = 0;  ///< of memory that is needed meanwhile, wherever it is made
    double companionBytes = 0;     ///< of what is to be in memory, too, if it is itself
};

/// For a bitmap of the size, resolution and tiles of another one, in that format, without colours.
Blank BlankLike(const zbm::ZBitmap& source, shr::ColorFormat format);

/// Where a command's bitmaps live while it works on them. Temporary files lie in a folder beside the output, where
/// there must be room for it anyway, and are gone when the workplace is; bitmaps must be gone before.
class Workplace {
public:
    virtual ~Workplace() = default;
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    /// What reads as zero, its mask as opaque.
    virtual BitmapPtr Make(const Blank& blank) = 0;
    /// Whether bitmaps of that many bytes are held in memory.
    virtual bool HoldsInMemory(double bytes) const = 0;
    /// The whole source at another size.
    virtual BitmapPtr Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method,
                             shr::IProgress& progress) = 0;
    /// The bitmap, or a copy of it where it is the input itself, which is never changed.
    BitmapPtr MakeWritable(const BitmapPtr& bitmap, shr::IProgress& progress);
    /// To be called after a change: builds the reductions of a bitmap that keeps such, if they are not current.
    virtual void BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) = 0;

    /// The names under which the command's files are open: for the errors that tell them.
    const FileAliases& Names() const noexcept { return names; }
    void AddName(const ZString& openAs, const ZString& shownAs) { names.push_back({openAs, shownAs}); }

protected:
    /// The output is borrowed.
    explicit Workplace(const OutputFile& target) : output(target) {}

    /// Made when it is first asked for.
    TemporaryFolder& Folder();
    /// A new empty file there.
    shr::TempFile& NewFile();

private:
    virtual bool IsMine(const zbm::ZBitmap& bitmap) const = 0;
    virtual BitmapPtr Copy(zbm::ZBitmap& source, shr::IProgress& progress) = 0;

    const OutputFile& output;
    FileAliases names;
    std::optional<TemporaryFolder> folder;
};

/// Bitmaps are in memory, but for those that are too large for it: these are paged to temporary files, and nobody sees
/// a difference in what comes out.
class Paging final : public Workplace {
public:
    /// A bitmap of more bytes than `mostBytes` is paged.
    Paging(const OutputFile& target, std::uint64_t mostBytes) : Workplace(target), most(mostBytes) {}

    BitmapPtr Make(const Blank& blank) override;
    bool HoldsInMemory(double bytes) const override { return bytes <= static_cast<double>(most); }
    BitmapPtr Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) override;
    void BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) override;
    /// The bitmap as one that keeps reductions, without any yet.
    BitmapPtr KeepReductions(const BitmapPtr& bitmap, shr::IProgress& progress);

private:
    bool IsMine(const zbm::ZBitmap& bitmap) const override;
    BitmapPtr Copy(zbm::ZBitmap& source, shr::IProgress& progress) override;

    std::uint64_t most;
};

/// Every bitmap is one that can become the output, a bitmap in a file. Of each there is never more in memory than a row
/// of tiles.
class InFiles final : public Workplace {
public:
    explicit InFiles(const OutputFile& target) : Workplace(target) {}

    BitmapPtr Make(const Blank& blank) override;
    bool HoldsInMemory(double) const override { return false; }
    BitmapPtr Resize(zbm::ZBitmap& source, PixelSize size, zbm::ResizeMethod method, shr::IProgress& progress) override;
    void BuildReductions(zbm::ZBitmap& bitmap, shr::IProgress& progress) override;

    /// Makes the bitmap the output's content, and leaves no other owner of it with a bitmap that is open.
    void Deliver(BitmapPtr bitmap, bool withLevels, OutputFile& file, shr::IProgress& progress);

private:
    ZString NewName() { return mine.emplace_back(&NewFile())->Name(); }
    bool IsMine(const zbm::ZBitmap& bitmap) const override;
    BitmapPtr Copy(zbm::ZBitmap& source, shr::IProgress& progress) override;

    std::vector<shr::TempFile*> mine;
};

}  // namespace tool
