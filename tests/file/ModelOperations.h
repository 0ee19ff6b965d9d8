#pragma once
// What can be done with bitmaps of any class, each beside what it does to the model. An operation takes all its choices
// from dice of its own, so that it stays what it is when others before it are left out.
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "file/ModelSubject.h"
#include "shr/Archive.h"
#include "support_code/TestProgress.h"
#include "zbm/SerializeIO.h"

namespace testkit {

/// What an operation is done to, and a second bitmap (perhaps the same) from which things are taken.
struct Actors {
    Subject& target;
    Subject& other;
    Dice& dice;
    std::string& log;

    void Say(const std::string& text) const { log += text + " "; }
};

namespace operations {

using zbm::ZBitmap;

// ---- What may come of an operation.

enum class Outcome { done, gaveFalse, aborted };

template <class Act>
Outcome Try(const Act& act) {
    try {
        return act() ? Outcome::done : Outcome::gaveFalse;
    } catch (const shr::AbortException&) { return Outcome::aborted; }
}

template <class Act>
void Refuses(const char* what, const Act& act) {
    try {
        (void)act();
    } catch (const shr::Exception&) { return; }
    throw Mismatch(std::string(what) + " is not refused");
}

/// Null, or reports that may cancel.
class Reports {
public:
    explicit Reports(const Actors& with)
        : progress(with.dice.OneIn(3) ? with.dice.Between(1, 6) : std::numeric_limits<int>::max()),
          isGiven(with.dice.OneIn(2)) {}
    shr::IProgress* Target() { return isGiven ? &progress : nullptr; }
    bool WereCancelled() const { return isGiven && progress.WasCancelled(); }

private:
    struct Cancelling : TestProgress {
        using TestProgress::TestProgress;
        void SetProgress(double fraction) override {
            try {
                TestProgress::SetProgress(fraction);
            } catch (const shr::AbortException&) {
                wasCancelled = true;
                throw;
            }
        }
        bool WasCancelled() const { return wasCancelled; }
        bool wasCancelled = false;
    };
    Cancelling progress;
    bool isGiven;
};

/// Whether it came to its end; it did unless it was cancelled, which arrived as stated.
inline bool CameToItsEnd(Outcome outcome, const Reports& reports, Outcome ifCancelled) {
    const Outcome expected = reports.WereCancelled() ? ifCancelled : Outcome::done;
    constexpr const char* kNames[] = {"true", "false", "an abort"};
    Demand(outcome == expected, std::string("the outcome is ") + kNames[static_cast<int>(outcome)] + ", not " +
                                    kNames[static_cast<int>(expected)]);
    return outcome == Outcome::done;
}

// ---- Pictures made with dice.

inline int RandomSize(Dice& dice, int tileSide) {
    switch (dice.Below(8)) {
        case 0: return 1;
        case 1: return dice.Between(34, 75);
        case 2: return std::min(tileSide * dice.Between(1, 3), 40);
        case 3: return dice.Between(1, 12);
        default: return dice.Between(1, 35);
    }
}

/// Few pixels, of which some lie in a second tile of 512.
inline Layout RandomModelLayout(Dice& dice) {
    const auto tileSide = [&] {
        return dice.OneIn(4) ? 512 : dice.OneIn(2) ? dice.Between(3, 12) : dice.Between(8, 40);
    };
    Layout layout{};
    layout.format = RandomFormat(dice);
    layout.tileWidth = tileSide();
    layout.tileHeight = tileSide();
    layout.width = RandomSize(dice, layout.tileWidth);
    layout.height = RandomSize(dice, layout.tileHeight);
    if (dice.OneIn(20)) {
        const bool isWide = dice.OneIn(2);
        layout.width = isWide ? dice.Between(510, 530) : dice.Between(1, 3);
        layout.height = isWide ? dice.Between(1, 3) : dice.Between(510, 530);
        layout.tileWidth = layout.tileHeight = dice.OneIn(2) ? 512 : 100;
    }
    return layout;
}

inline FlatPicture RandomPixels(Dice& dice, int width, int height, ColorFormat format) {
    FlatPicture pixels(width, height, format);
    const auto look = static_cast<Look>(dice.Below(3));
    const auto bits = static_cast<unsigned>(BitsPerPixel(format));
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            SetPixelAt(pixels.Row(y), x, format, RandomPixel(dice, format, look) >> (32 - bits));
    return pixels;
}

inline std::vector<shr::Color4b> RandomColors(Dice& dice, ColorFormat format) {
    const int size = TableSize(format);
    std::vector<shr::Color4b> colors(
        static_cast<std::size_t>(size == 0 || dice.OneIn(2) ? size : dice.Between(1, size)));
    for (auto& color : colors) {
        const std::uint32_t bits = dice.Bits();
        color = {static_cast<std::uint8_t>(bits), static_cast<std::uint8_t>(bits >> 8),
                 static_cast<std::uint8_t>(bits >> 16),
                 dice.OneIn(3) ? static_cast<std::uint8_t>(bits >> 24) : shr::ALPHA_MAX};
    }
    return colors;
}

inline void TakeColors(FlatPicture& picture, const std::vector<shr::Color4b>& colors) {
    std::fill(picture.colors.begin(), picture.colors.end(), shr::Color4b::Black);
    std::copy(colors.begin(), colors.end(), picture.colors.begin());
    picture.numColors = static_cast<unsigned>(colors.size());
}

inline ModelPicture RandomModel(Dice& dice, const Layout& layout) {
    ModelPicture model = NewModel(layout.width, layout.height, layout.format, layout.tileWidth, layout.tileHeight);
    std::vector<bool> opaque = model.flat.opaque;
    for (std::size_t i = 0; i < opaque.size(); ++i) opaque[i] = !dice.OneIn(3);
    model.flat = RandomPixels(dice, layout.width, layout.height, layout.format);
    model.flat.opaque = std::move(opaque);
    TakeColors(model.flat, RandomColors(dice, layout.format));
    model.xResolution = dice.Between(1, 5000);
    model.yResolution = dice.Between(1, 5000);
    return model;
}

/// Tile by tile, from a model of the same layout.
inline void Put(const ModelPicture& model, ZBitmap& bitmap) {
    const FlatPicture& flat = model.flat;
    for (int row = 0; row < bitmap.GetNumScanRectRows(); ++row)
        for (int col = 0; col < bitmap.GetNumScanRects(row); ++col) {
            const RECT box = bitmap.GetScanRectBBox(row, col);
            const int left = static_cast<int>(box.left), top = static_cast<int>(box.top);
            const zbm::LockedTile tile(bitmap, row, col);
            for (int y = 0; y < tile->GetHeight(); ++y)
                for (int x = 0; x < tile->GetWidth(); ++x) {
                    SetPixelAt(tile->GetRowPtr(y), x, flat.format, PixelAt(flat.Row(top + y), left + x, flat.format));
                    if (HasMask(flat.format))
                        SetMaskAt(tile->GetAlphaRowPtr(y), x, flat.opaque[flat.Index(left + x, top + y)]);
                }
            bitmap.CommitScanRect(row, col);
        }
    bitmap.FillColorTable(flat.colors.data(), flat.numColors);
    bitmap.SetXResolution(model.xResolution);
    bitmap.SetYResolution(model.yResolution);
}

/// The file of a bitmap with any tiles, closed again.
inline void WriteFile(const shr::ZString& name, const ModelPicture& model) {
    OpenFileBitmap bitmap;
    bitmap.CreateSkeleton(name, model.flat.height, model.flat.width, model.flat.format, model.tileHeight,
                          model.tileWidth);
    Put(model, bitmap);
    bitmap.Close();
}

inline std::string Describe(const ModelPicture& model) {
    return std::to_string(model.flat.width) + " x " + std::to_string(model.flat.height) + " " +
           FormatName(model.flat.format) + " in tiles of " + std::to_string(model.tileWidth) + " x " +
           std::to_string(model.tileHeight);
}
inline std::string Describe(const RECT& rect) {
    return std::to_string(rect.left) + ".." + std::to_string(rect.right) + ", " + std::to_string(rect.top) + ".." +
           std::to_string(rect.bottom);
}

// ---- A picture of any kind to begin with.

inline void Open(const Actors& with, const shr::ZString& fileName, Held held, bool readOnly) {
    Subject& target = with.target;
    target.File()->Open(fileName, readOnly);
    target.state = State::picture;
    target.held = std::move(held);
    target.onDisk.reset();
    target.readOnly = readOnly;
    // A file tells of old levels, but nothing of levels that are not there.
    if (target.held.levels.empty()) target.held.stale = target.Cached() != nullptr;
}

inline void Setup(const Actors& with) {
    Subject& target = with.target;
    ModelPicture model = RandomModel(with.dice, RandomModelLayout(with.dice));
    with.Say(Describe(model));
    if (target.IsInMemory()) {
        target.Reduced() != nullptr ? target.Reduced()->Create(model.flat.width, model.flat.height, model.flat.format,
                                                               model.tileWidth, model.tileHeight)
                                    : target.Memory()->Create(model.flat.width, model.flat.height, model.flat.format,
                                                              model.tileWidth, model.tileHeight);
        Put(model, *target.bitmap);
        target.Become(std::move(model));
        target.TilesChanged();
    } else if (target.Level() != nullptr) {
        zbm::ZBasicMemBitmap source(model.flat.width, model.flat.height, model.flat.format);
        Put(model, source);
        const ModelPicture scaled = AtSize(model, {0, 0, model.flat.width, model.flat.height}, model.flat.width,
                                           model.flat.height, zbm::ResizePlain, Family::inFile);
        target.BecomeNewLevel(with.dice.Below(100));
        Demand(target.Level()->Create(target.name, model.flat.width, model.flat.height, source,
                                      {0, 0, model.flat.width, model.flat.height}, zbm::ResizePlain, nullptr),
               "the level is made");
        target.Become(scaled);
        target.onDisk = target.held;
    } else {
        if (target.File()->IsFileOpen()) target.File()->Close();
        const shr::ZString fileName = target.Cached() == nullptr ? target.name : target.NewName();
        WriteFile(fileName, model);
        Open(with, fileName, Held{std::move(model), {}, false}, false);
    }
}

// ---- Regions.

/// Often reaching outside.
inline RECT RandomRect(Dice& dice, const ModelPicture& model, int least) {
    const auto side = [&](int size, LONG& first, LONG& last) {
        first = dice.Between(least, size);
        last = dice.OneIn(4) ? first + dice.Between(0, 3) : dice.Between(static_cast<int>(first), size + 4);
    };
    RECT rect;
    side(model.flat.width, rect.left, rect.right);
    side(model.flat.height, rect.top, rect.bottom);
    return rect;
}

/// `use` (x, y, and the place in the rectangle) for each pixel of the rectangle that is in the picture. Whether any is.
template <class Use>
bool ForEachInside(const FlatPicture& picture, const RECT& rect, const Use& use) {
    bool any = false;
    for (int y = 0; y < picture.height; ++y)
        for (int x = 0; x < picture.width; ++x)
            if (x >= rect.left && x < rect.right && y >= rect.top && y < rect.bottom) {
                use(x, y, x - static_cast<int>(rect.left), y - static_cast<int>(rect.top));
                any = true;
            }
    return any;
}

/// Rows in the caller's memory, top row first or last, with bytes between them that are not theirs.
class CallersRows {
public:
    CallersRows(Dice& dice, int rowBytes, int rows) : stride(rowBytes + dice.Between(0, 7)), count(std::max(rows, 1)) {
        bytes.resize(static_cast<std::size_t>(stride * count) + 1);
        for (auto& byte : bytes) byte = static_cast<std::uint8_t>(dice.Bits());
        isBottomUp = dice.OneIn(3);
    }
    int Stride() const { return isBottomUp ? -stride : stride; }
    std::uint8_t* Row(int y) { return &bytes[static_cast<std::size_t>(stride * (isBottomUp ? count - 1 - y : y))]; }

    std::vector<std::uint8_t> bytes;

private:
    int stride, count;
    bool isBottomUp = false;
};

/// What changes tiles: of a file opened read-only it is refused where it meets any.
template <class Act>
void ChangeTiles(const Actors& with, bool meetsTiles, const Act& act) {
    if (with.target.readOnly && meetsTiles) {
        Refuses("a change of what was opened read-only", [&] { return act(), true; });
        return with.target.File()->UnlockAllScanRects();
    }
    act();
    if (meetsTiles) with.target.TilesChanged();
}

inline void StoreRegion(const Actors& with) {
    FlatPicture after = with.target.held.picture.flat;
    const RECT rect = RandomRect(with.dice, with.target.held.picture, -4);
    const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
    const FlatPicture pixels = RandomPixels(with.dice, width, height, after.format);
    CallersRows rows(with.dice, pixels.RowBytes(), height);
    for (int y = 0; y < height && width > 0; ++y)
        std::memcpy(rows.Row(y), pixels.Row(y), static_cast<std::size_t>(pixels.RowBytes()));
    with.Say(Describe(rect));
    const bool meets = ForEachInside(after, rect, [&](int x, int y, int rectX, int rectY) {
        SetPixelAt(after.Row(y), x, after.format, PixelAt(pixels.Row(rectY), rectX, after.format));
    });
    const bool byCorner = with.dice.OneIn(2);
    ChangeTiles(with, meets, [&] {
        ZBitmap& bitmap = *with.target.bitmap;
        if (byCorner)
            bitmap.StoreRegion(rows.Row(0), rows.Stride(), static_cast<int>(rect.left), static_cast<int>(rect.top),
                               width, height);
        else
            bitmap.StoreRegion(rows.Row(0), rows.Stride(), rect);
    });
    if (!with.target.readOnly) with.target.held.picture.flat = std::move(after);
}

inline void FetchRegion(const Actors& with) {
    const FlatPicture& flat = with.target.held.picture.flat;
    RECT rect = RandomRect(with.dice, with.target.held.picture, 0);
    rect.right = std::max(rect.right, rect.left + 1);
    rect.bottom = std::max(rect.bottom, rect.top + 1);
    const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
    CallersRows rows(with.dice, PaddedRowBytes(width, BitsPerPixel(flat.format)), height);
    CallersRows expected = rows;
    with.Say(Describe(rect));
    ForEachInside(flat, rect, [&](int x, int y, int rectX, int rectY) {
        SetPixelAt(expected.Row(rectY), rectX, flat.format, PixelAt(flat.Row(y), x, flat.format));
    });
    with.target.bitmap->FetchRegion(rows.Row(0), rows.Stride(), rect);
    Demand(rows.bytes == expected.bytes, "the fetched region");
}

inline void WriteTile(const Actors& with) {
    Subject& target = with.target;
    FlatPicture after = target.held.picture.flat;
    ZBitmap& bitmap = *target.bitmap;
    const int row = with.dice.Below(bitmap.GetNumScanRectRows()), col = with.dice.Below(bitmap.GetNumScanRects(row));
    const RECT box = bitmap.GetScanRectBBox(row, col);
    const bool commits = !with.dice.OneIn(3);
    with.Say(std::to_string(row) + ", " + std::to_string(col) + (commits ? "" : " without commit"));
    zbm::ZScanRect& tile = bitmap.LockScanRect(row, col);
    for (int i = with.dice.Between(1, 20); i > 0; --i) {
        const int x = with.dice.Below(tile.GetWidth()), y = with.dice.Below(tile.GetHeight());
        const std::uint32_t pixel =
            RandomPixel(with.dice, after.format, Look::noise) >> (32 - BitsPerPixel(after.format));
        const int atX = static_cast<int>(box.left) + x, atY = static_cast<int>(box.top) + y;
        SetPixelAt(tile.GetRowPtr(y), x, after.format, pixel);
        SetPixelAt(after.Row(atY), atX, after.format, pixel);
        if (!HasMask(after.format)) continue;
        SetMaskAt(tile.GetAlphaRowPtr(y), x, pixel % 2 == 0);
        after.opaque[after.Index(atX, atY)] = pixel % 2 == 0;
    }
    if (commits) ChangeTiles(with, true, [&] { bitmap.CommitScanRect(row, col); });
    if (!commits || !target.readOnly) bitmap.UnlockScanRect(row, col);
    // What was not committed is lost where the tile lies in a file.
    if (target.IsInMemory() || (commits && !target.readOnly)) target.held.picture.flat = std::move(after);
}

inline void SetMask(const Actors& with) {
    FlatPicture after = with.target.held.picture.flat;
    const RECT rect = RandomRect(with.dice, with.target.held.picture, -4);
    const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
    CallersRows rows(with.dice, 4 * width, height);
    with.Say(Describe(rect));
    const auto act = [&] { with.target.bitmap->SetMaskFromAlpha(rows.Row(0), rows.Stride(), rect); };
    if (!HasMask(after.format)) return Refuses("a mask of pixels with alpha", [&] { return act(), true; });
    const bool meets = ForEachInside(after, rect, [&](int x, int y, int rectX, int rectY) {
        after.opaque[after.Index(x, y)] = rows.Row(rectY)[4 * rectX + 3] >= 128;
    });
    ChangeTiles(with, meets, act);
    if (!with.target.readOnly) with.target.held.picture.flat = std::move(after);
}

inline void GetAlpha(const Actors& with) {
    const FlatPicture& flat = with.target.held.picture.flat;
    const RECT rect = RandomRect(with.dice, with.target.held.picture, -4);
    const int width = static_cast<int>(rect.right - rect.left), height = static_cast<int>(rect.bottom - rect.top);
    const int step = with.dice.Between(1, 5);
    CallersRows rows(with.dice, step * width, height);
    CallersRows expected = rows;
    with.Say(Describe(rect));
    const auto act = [&] {
        with.target.bitmap->GetAlphaFromMask(rows.Row(0), rows.Stride(), rect, static_cast<unsigned>(step));
    };
    if (!HasMask(flat.format)) return Refuses("the mask of pixels with alpha", [&] { return act(), true; });
    ForEachInside(flat, rect, [&](int x, int y, int rectX, int rectY) {
        expected.Row(rectY)[step * rectX + step - 1] = flat.opaque[flat.Index(x, y)] ? 255 : 0;
    });
    act();
    Demand(rows.bytes == expected.bytes, "the alpha of the mask");
}

// ---- Colours and resolution.

inline void FillColors(const Actors& with) {
    Subject& target = with.target;
    std::vector<shr::Color4b> colors = RandomColors(with.dice, target.held.picture.flat.format);
    const bool areTooMany = with.dice.OneIn(4);
    if (areTooMany) colors.resize(static_cast<std::size_t>(TableSize(target.held.picture.flat.format)) + 1);
    with.Say(std::to_string(colors.size()) + " colours");
    const auto act = [&] {
        target.bitmap->FillColorTable(colors.data(), static_cast<unsigned>(colors.size()));
        return true;
    };
    if (areTooMany || target.readOnly) {
        Refuses("a colour table that cannot be", act);
        if (target.File() != nullptr && !target.readOnly) target.ColorsChanged();
        return;
    }
    act();
    TakeColors(target.held.picture.flat, colors);
    target.ColorsChanged();
}

inline void SetResolution(const Actors& with) {
    Subject& target = with.target;
    const bool isX = with.dice.OneIn(2), inDpi = with.dice.OneIn(3);
    const int value = with.dice.OneIn(4) ? with.dice.Between(-3, 1) : with.dice.Between(1, 20000);
    with.Say(std::to_string(value));
    ZBitmap& bitmap = *target.bitmap;
    const auto act = [&] {
        if (inDpi) return isX ? bitmap.SetXDPIResolution(value) : bitmap.SetYDPIResolution(value), true;
        return isX ? bitmap.SetXResolution(value) : bitmap.SetYResolution(value), true;
    };
    if (target.readOnly) return Refuses("a resolution of what was opened read-only", act);
    act();
    const double exact = inDpi ? value / 0.0254 : value;
    const int stored = static_cast<int>(exact < 0 ? std::ceil(exact - 0.5) : std::floor(exact + 0.5));
    const auto set = [&](ModelPicture& picture) { (isX ? picture.xResolution : picture.yResolution) = stored; };
    if (target.File() == nullptr || stored >= 1) set(target.held.picture);
    if (target.Level() != nullptr && stored >= 1) set(target.onDisk->picture);
    const auto dpi = [](int perMeter) {
        return static_cast<int>(perMeter < 0 ? std::ceil(perMeter * 0.0254 - 0.5)
                                             : std::floor(perMeter * 0.0254 + 0.5));
    };
    Demand(bitmap.GetXDPIResolution() == dpi(target.held.picture.xResolution) &&
               bitmap.GetYDPIResolution() == dpi(target.held.picture.yResolution),
           "dots per inch");
}

inline void ForgetResolution(const Actors& with) {
    if (with.target.File() == nullptr) return;
    const auto act = [&] { return with.target.File()->ForgetResolution(), true; };
    if (with.target.readOnly) return Refuses("a resolution of what was opened read-only", act);
    act();
    with.target.held.picture.xResolution = with.target.held.picture.yResolution = 0;
}

// ---- Filters in place.

/// Of a run that was cancelled: the first lines are new, the others old; the colours are the old ones.
inline void TakeCancelled(Subject& target, const FlatPicture& whole) {
    FlatPicture found = Flattened(*target.bitmap);
    const FlatPicture& former = target.held.picture.flat;
    const auto isLineOf = [&](const FlatPicture& picture, int y) {
        for (int x = 0; x < found.width; ++x)
            if (PixelAt(found.Row(y), x, found.format) != PixelAt(picture.Row(y), x, found.format)) return false;
        return true;
    };
    int lines = 0;
    while (lines < found.height && isLineOf(whole, lines)) ++lines;
    for (int y = lines; y < found.height; ++y) Demand(isLineOf(former, y), "the lines behind those that were written");
    FlatPicture expected = former;
    expected.rows = found.rows;
    if (HasMask(found.format))
        for (std::size_t i = 0; i < found.opaque.size(); ++i)
            Demand(found.opaque[i] == former.opaque[i] || found.opaque[i] == whole.opaque[i], "the mask");
    expected.opaque = found.opaque;
    Demand(AreAlike(found, expected), "what is left");
    const bool isChanged = !AreAlike(found, former);
    if (isChanged || target.IsStale()) target.TilesChanged();  // lines may have been written as they were
    target.held.picture.flat = std::move(expected);
}

inline void Adjust(const Actors& with) {
    Subject& target = with.target;
    const ChangeKind& kind = kChanges[with.dice.Below(static_cast<int>(std::size(kChanges)))];
    const Change change = kind.make(with.dice);
    with.Say(kind.name);
    Reports reports(with);
    if (target.readOnly)
        return Refuses("a change of what was opened read-only", [&] { return change.apply(*target.bitmap, nullptr); });
    const FlatPicture& former = target.held.picture.flat;
    FlatPicture after = FilteredBy(*change.filter, former, former, target.GetFamily());
    const Outcome outcome = Try([&] { return change.apply(*target.bitmap, reports.Target()); });
    if (!CameToItsEnd(outcome, reports, Outcome::aborted)) {
        with.Say("(cancelled)");
        if (change.palette != nullptr) Demand(change.palette->empty(), "no palette of what was cancelled");
        return TakeCancelled(target, after);
    }
    if (change.palette != nullptr) {
        const zpixf::ZPixFormat& chosen = change.filter->GetOutputFormat();
        Demand(change.palette->size() == chosen.GetNumColors(), "as many colours as were chosen");
        for (unsigned i = 0; i < chosen.GetNumColors(); ++i) {
            const RGBQUAD &found = (*change.palette)[i], &wanted = chosen.GetColors()[i];
            Demand(found.rgbBlue == wanted.rgbBlue && found.rgbGreen == wanted.rgbGreen &&
                       found.rgbRed == wanted.rgbRed && found.rgbReserved == 0,
                   "the palette that was chosen");
        }
    }
    target.TilesChanged();
    if (after.numColors > 0) target.ColorsChanged();
    target.held.picture.flat = std::move(after);
}

inline void AdjustByNothing(const Actors& with) {
    ZBitmap& bitmap = *with.target.bitmap;
    Demand(
        bitmap.ChangeBrightness(0, nullptr) && bitmap.ChangeContrast(0, nullptr) && bitmap.ChangeSaturation(1, nullptr),
        "nothing to do");
}

// ---- Reductions.

inline void CommitAll(const Actors& with) {
    Subject& target = with.target;
    Reports reports(with);
    const bool rebuilds = target.KeepsReductions() && (!target.held.levelsKnown || with.dice.OneIn(3));
    with.Say(rebuilds ? "anew" : "");
    const auto act = [&] {
        if (!rebuilds) return target.bitmap->CommitAll(reports.Target());
        return target.Reduced() != nullptr ? target.Reduced()->CommitAll(reports.Target(), true)
                                           : target.File()->CommitAll(reports.Target(), true);
    };
    const bool hasWork = target.KeepsReductions() && (target.held.stale || rebuilds);
    if (hasWork) target.held.stale = true;
    std::vector<ModelPicture> levels;
    if (hasWork) levels = ReductionsOf(target.held.picture, target.GetFamily());
    if (target.readOnly && hasWork && !(levels.empty() && target.held.levels.empty()))
        return Refuses("levels of what was opened read-only", act);
    const bool hadLevels = !target.held.levels.empty();
    if (!CameToItsEnd(Try(act), reports, Outcome::aborted)) {
        with.Say("(cancelled)");
        // A refresh in a file leaves all levels, some of them new.
        target.held.levelsKnown = target.Reduced() != nullptr || !hadLevels;
        if (target.Reduced() != nullptr) target.held.levels.clear();
        return;
    }
    if (!hasWork || target.readOnly) return;
    target.held.levels = std::move(levels);
    target.held.levelsKnown = true;
    target.held.stale = false;
}

// ---- Creations.

/// In memory a creation's tiles are committed, which drops current reductions.
inline void BecomeMade(Subject& target, ModelPicture made, bool tilesAreCommitted) {
    if (tilesAreCommitted) target.TilesChanged();
    target.Become(std::move(made));
    target.held.stale = true;
}

inline void BecomeNothing(const Actors& with) {
    with.Say("(cancelled)");
    with.target.BecomeNone();
    if (with.target.File() != nullptr && with.target.Cached() == nullptr)
        Demand(!shr::PathExists(with.target.name), "no file is left");
}

inline void CreateNew(const Actors& with) {
    Subject& target = with.target;
    Layout layout = RandomModelLayout(with.dice);
    if (!target.IsInMemory()) layout.tileWidth = layout.tileHeight = 512;
    const ModelPicture made = NewModel(layout.width, layout.height, layout.format, layout.tileWidth, layout.tileHeight);
    Reports reports(with);
    const bool isEmpty = with.dice.OneIn(2);
    with.Say(Describe(made));
    const auto inFile = [&] {
        if (isEmpty && target.Cached() != nullptr)
            return target.Cached()->CreateEmpty(layout.width, layout.height, layout.format), true;
        if (isEmpty) return target.File()->CreateEmpty(target.name, layout.width, layout.height, layout.format), true;
        if (target.Cached() != nullptr)
            return target.Cached()->Create(layout.width, layout.height, layout.format, reports.Target());
        return target.File()->Create(target.name, layout.width, layout.height, layout.format, reports.Target());
    };
    if (target.Level() != nullptr)
        return Refuses("a level of zeros", [&] {
            return target.Level()->Create(target.name, layout.width, layout.height, layout.format, nullptr);
        });
    if (target.File() != nullptr) {
        if (!CameToItsEnd(Try(inFile), reports, Outcome::gaveFalse)) return BecomeNothing(with);
    } else if (target.Reduced() != nullptr) {
        target.Reduced()->Create(layout.width, layout.height, layout.format, layout.tileWidth, layout.tileHeight);
    } else {
        target.Memory()->Create(layout.width, layout.height, layout.format, layout.tileWidth, layout.tileHeight);
    }
    BecomeMade(target, made, false);
}

/// A bitmap to create from: the other, or one of its reductions.
struct Source {
    ZBitmap* bitmap;
    const ModelPicture* model;
    bool isReduction;
};

inline Source SourceOf(const Actors& with) {
    const Held& held = with.other.held;
    if (with.other.KeepsReductions() && held.levelsKnown && !held.levels.empty() && with.dice.OneIn(2)) {
        const std::size_t level = static_cast<std::size_t>(with.dice.Below(static_cast<int>(held.levels.size())));
        ZBitmap* reduction = with.other.bitmap->GetPtrToPOTReduction(static_cast<unsigned>(level) + 1);
        if (reduction != nullptr && reduction != with.other.bitmap.get()) return {reduction, &held.levels[level], true};
    }
    return {with.other.bitmap.get(), &held.picture, false};
}

/// Whether the creation is one of those that are refused: from itself, or in a file from a reduction of its own.
inline bool IsFromItself(const Actors& with, const Source& source) {
    return &with.target == &with.other && !(source.isReduction && with.target.IsInMemory());
}

template <class Create>
void CreateFrom(const Actors& with, const Source& source, ModelPicture made, Outcome ifCancelled,
                const Create& create) {
    Reports reports(with);
    const bool isOwnReduction = source.isReduction && &with.target == &with.other;
    const auto act = [&] { return create(reports.Target()); };
    if (!CameToItsEnd(Try(act), reports, ifCancelled)) return BecomeNothing(with);
    BecomeMade(with.target, std::move(made), true);
    if (isOwnReduction) with.target.held.levels.clear();
}

inline void CreateCopy(const Actors& with) {
    Subject& target = with.target;
    const Source source = SourceOf(with);
    with.Say(Describe(*source.model));
    const auto create = [&](shr::IProgress* progress) {
        if (target.Reduced() != nullptr) return target.Reduced()->Create(*source.bitmap, progress);
        if (target.IsInMemory()) return target.Memory()->Create(*source.bitmap, progress);
        if (target.Cached() != nullptr) return target.Cached()->Create(*source.bitmap, progress);
        return static_cast<zbm::ZFileBitmap&>(*target.bitmap).Create(target.name, *source.bitmap, progress);
    };
    if (target.Level() != nullptr) return Refuses("a level as a copy", [&] { return create(nullptr); });
    if (IsFromItself(with, source)) {
        if (source.isReduction) return Refuses("a copy of its own reduction", [&] { return create(nullptr); });
        Demand(create(nullptr), "a copy of itself is there already");
        if (target.Reduced() != nullptr) target.held.stale = true;  // as by every creation
        return;
    }
    ModelPicture made = *source.model;
    if (!target.IsInMemory()) made.tileWidth = made.tileHeight = 512;
    CreateFrom(with, source, std::move(made), Outcome::gaveFalse, create);
}

/// Reductions in memory become stale by a creation that fails, too.
template <class Create>
void RefuseItself(Subject& target, const Create& create) {
    Refuses("a creation from itself", create);
    if (target.Reduced() != nullptr) target.held.stale = true;
}

inline void CreateInFormat(const Actors& with) {
    Subject& target = with.target;
    if (target.Level() != nullptr) return;
    const Source source = SourceOf(with);
    const ColorFormat format = RandomFormat(with.dice);
    with.Say(Describe(*source.model) + " to " + FormatName(format));
    const auto create = [&](shr::IProgress* progress) {
        if (target.Reduced() != nullptr) return target.Reduced()->Create(format, *source.bitmap, progress);
        if (target.IsInMemory()) return target.Memory()->Create(format, *source.bitmap, progress);
        if (target.Cached() != nullptr) return target.Cached()->Create(format, *source.bitmap, progress);
        return target.File()->Create(target.name, format, *source.bitmap, progress);
    };
    if (IsFromItself(with, source)) return RefuseItself(target, [&] { return create(nullptr); });
    const bool isCopy = format == source.model->flat.format;
    ModelPicture made = InFormat(*source.model, format, target.GetFamily());
    if (!target.IsInMemory()) made.tileWidth = made.tileHeight = 512;
    CreateFrom(with, source, std::move(made), isCopy ? Outcome::gaveFalse : Outcome::aborted, create);
}

inline RECT RandomPart(Dice& dice, int width, int height) {
    if (dice.OneIn(3)) return {0, 0, width, height};
    const int left = dice.Below(width), top = dice.Below(height);
    return {left, top, dice.Between(left + 1, width), dice.Between(top + 1, height)};
}

inline void CreateAtSize(const Actors& with) {
    Subject& target = with.target;
    const Source source = SourceOf(with);
    const FlatPicture& flat = source.model->flat;
    const RECT part = RandomPart(with.dice, flat.width, flat.height);
    const int width = RandomSize(with.dice, 20), height = RandomSize(with.dice, 20), method = with.dice.Between(1, 5);
    with.Say(Describe(*source.model) + ", " + Describe(part) + " at " + std::to_string(width) + " x " +
             std::to_string(height) + " by method " + std::to_string(method));
    const auto how = static_cast<zbm::ResizeMethod>(method);
    const auto create = [&](shr::IProgress* progress) {
        if (target.Reduced() != nullptr)
            return target.Reduced()->Create(width, height, *source.bitmap, part, how, progress);
        if (target.IsInMemory()) return target.Memory()->Create(width, height, *source.bitmap, part, how, progress);
        if (target.Cached() != nullptr)
            return target.Cached()->Create(width, height, *source.bitmap, part, how, progress);
        return static_cast<zbm::ZFileBitmap&>(*target.bitmap)
            .Create(target.name, width, height, *source.bitmap, part, how, progress);
    };
    if (IsFromItself(with, source)) return RefuseItself(target, [&] { return create(nullptr); });
    ModelPicture made = AtSize(*source.model, part, width, height, method, target.GetFamily());
    if (target.Level() == nullptr) return CreateFrom(with, source, std::move(made), Outcome::aborted, create);
    target.BecomeNewLevel(with.dice.Below(100));
    CreateFrom(with, source, std::move(made), Outcome::aborted, create);
    if (target.HasPicture()) target.onDisk = target.held;
}

/// A level is filled anew from another picture.
inline void FillLevel(const Actors& with) {
    Subject& target = with.target;
    if (target.Level() == nullptr || &target == &with.other) return;
    const Source source = SourceOf(with);
    const FlatPicture former = target.held.picture.flat;
    const FlatPicture part = source.model->flat;
    const int method = with.dice.Between(1, 5);
    with.Say(Describe(*source.model));
    FlatPicture after = FilteredBy(*MakeResizing(method), part, former, Family::inFile);
    Demand(target.Level()->FillFromOther(*source.bitmap, {0, 0, part.width, part.height},
                                         static_cast<zbm::ResizeMethod>(method), nullptr),
           "the level is filled");
    target.held.picture.flat = std::move(after);
    target.held.picture.xResolution = source.model->xResolution;
    target.held.picture.yResolution = source.model->yResolution;
    target.onDisk = target.held;
}

/// A packed DIB, bottom row first, and what it is as a picture.
struct RandomDib {
    explicit RandomDib(Dice& dice) : model(NewModel(1, 1, shr::BGRA_32)) {
        struct Depth {
            WORD bits;
            ColorFormat format;
        };
        constexpr Depth kDepths[] = {
            {1, shr::INDEXED_1}, {4, shr::INDEXED_4}, {8, shr::INDEXED_8}, {24, shr::BGR_24}, {32, shr::BGRA_32}};
        const Depth depth = kDepths[dice.Below(5)];
        const int width = RandomSize(dice, 20), height = RandomSize(dice, 20), table = TableSize(depth.format);
        const int used = dice.OneIn(2) ? 0 : table > 0 ? dice.Between(1, table) : dice.Below(10);
        const int colors = used == 0 ? table : used;
        model = NewModel(width, height, depth.format);
        const std::vector<bool> opaque = model.flat.opaque;
        model.flat = RandomPixels(dice, width, height, depth.format);
        model.flat.opaque = opaque;

        const BITMAPINFOHEADER header{40, width, height, 1, depth.bits, BI_RGB, 0, 0, 0, static_cast<DWORD>(used), 0};
        const auto rowBytes = static_cast<std::size_t>(model.flat.RowBytes());
        bytes.resize(40 + 4 * static_cast<std::size_t>(colors) + rowBytes * static_cast<std::size_t>(height));
        std::memcpy(bytes.data(), &header, sizeof header);
        std::uint8_t* at = bytes.data() + 40;
        std::vector<shr::Color4b> taken;
        for (int i = 0; i < colors; ++i, at += 4) {
            const std::uint32_t color = dice.Bits();
            std::memcpy(at, &color, 4);
            taken.push_back({at[2], at[1], at[0]});
        }
        if (table > 0) TakeColors(model.flat, taken);
        bits = at;
        for (int y = height; y-- > 0; at += rowBytes) std::memcpy(at, model.flat.Row(y), rowBytes);
        if (depth.format != shr::BGRA_32) return;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) model.flat.Row(y)[4 * x + 3] = 255;
    }
    const BITMAPINFO& Info() const { return *reinterpret_cast<const BITMAPINFO*>(bytes.data()); }
    const RGBQUAD* Colors() const { return reinterpret_cast<const RGBQUAD*>(bytes.data() + 40); }

    std::vector<std::uint8_t> bytes;
    const std::uint8_t* bits = nullptr;
    ModelPicture model;
};

inline void CreateFromDib(const Actors& with) {
    Subject& target = with.target;
    const RandomDib dib(with.dice);
    with.Say(Describe(dib.model));
    if (target.IsInMemory())
        return Refuses("a DIB in memory", [&] { return target.Memory()->Create(dib.Info(), 512, 512), true; });
    Reports reports(with);
    const bool isPacked = with.dice.OneIn(2);
    const auto create = [&] {
        const BITMAPINFOHEADER* header = &dib.Info().bmiHeader;
        if (target.Cached() != nullptr)
            return isPacked ? target.Cached()->Create(dib.Info(), reports.Target())
                            : target.Cached()->Create(header, dib.bits, dib.Colors(), reports.Target());
        auto& file = static_cast<zbm::ZFileBitmap&>(*target.bitmap);
        return isPacked ? file.Create(target.name, dib.Info(), reports.Target())
                        : file.Create(target.name, header, dib.bits, dib.Colors(), reports.Target());
    };
    if (target.Level() != nullptr) return Refuses("a level of a DIB", create);
    if (!CameToItsEnd(Try(create), reports, Outcome::gaveFalse)) return BecomeNothing(with);
    BecomeMade(target, dib.model, false);
}

// ---- Copies and moves of whole objects.

inline void CopyInMemory(const Actors& with) {
    Subject &target = with.target, &other = with.other;
    if (!target.IsInMemory() || !other.IsInMemory() || !other.HasPicture()) return;
    const bool bothReduced = target.Reduced() != nullptr && other.Reduced() != nullptr;
    const int way = with.dice.Below(3);
    with.Say(std::to_string(way));
    if (bothReduced) {
        if (way == 0) *target.Reduced() = *other.Reduced();
        if (way == 1) target.Reduced()->Create(*other.Reduced());
        if (way == 2) target.bitmap = std::make_unique<zbm::ZMemBitmap>(*other.Reduced());
        const Held taken = other.held;
        const bool isSame = &target == &other;
        if (isSame && way != 2) return;
        target.Become(taken.picture);
        target.held.levels = taken.levels;
        target.held.levelsKnown = taken.levelsKnown;
        target.held.stale = false;  // current, whatever they are
        return;
    }
    if (&target == &other) return;
    if (target.Reduced() != nullptr) {
        target.Reduced()->Create(*other.Memory());
    } else if (way == 0) {
        *target.Memory() = *other.Memory();
    } else {
        target.Memory()->Create(*other.Memory());
    }
    BecomeMade(target, other.held.picture, false);
}

inline bool AreOfOneClass(const Actors& with) {
    return with.target.IsInMemory() && with.other.IsInMemory() &&
           (with.target.Reduced() != nullptr) == (with.other.Reduced() != nullptr) && &with.target != &with.other;
}

inline void Move(const Actors& with) {
    if (!AreOfOneClass(with)) return;
    if (with.target.Reduced() != nullptr)
        *with.target.Reduced() = std::move(*with.other.Reduced());
    else
        *with.target.Memory() = std::move(*with.other.Memory());
    with.target.state = State::picture;
    with.target.held = with.other.held;
    with.other.BecomeNone();
    with.other.held.levels.clear();
    with.other.held.levelsKnown = true;
    with.other.held.stale = true;
}

inline void ChangeFrom(const Actors& with) {
    if (!AreOfOneClass(with)) return;
    if (with.target.Reduced() != nullptr)
        with.target.Reduced()->ChangeFrom(*with.other.Reduced());
    else
        with.target.Memory()->ChangeFrom(*with.other.Memory());
    with.target.state = State::picture;
    with.target.held = with.other.held;
    with.other.state = State::withoutTile;
    with.other.held = Held{NewModel(1, 1, shr::BGRA_32), {}, false};
}

/// Also from one that was closed, whose file is there, and from one that has none.
inline void ChangeFromCached(const Actors& with) {
    Subject &target = with.target, &other = with.other;
    if (target.Cached() == nullptr || other.Cached() == nullptr) return;
    const auto act = [&] { return target.Cached()->ChangeFrom(*other.Cached()), true; };
    if (&target == &other) return void(act());
    if (!other.HasPicture() && !other.onDisk) {
        Refuses("what has no file", act);
        return target.BecomeNone();
    }
    act();
    target.state = State::picture;
    target.readOnly = false;
    target.held = other.HasPicture() ? other.held : *other.onDisk;
    if (!other.HasPicture() && target.held.levels.empty()) target.held.stale = true;
    target.onDisk.reset();
    other.Become(NewModel(1, 1, shr::BGRA_32));
}

// ---- Files closed and opened.

inline void Close(const Actors& with) {
    Subject& target = with.target;
    if (target.File() == nullptr) return;
    target.File()->Close();
    target.onDisk = std::move(target.held);
    target.held = Held{NewModel(1, 1, shr::BGRA_32)};
    target.state = State::none;
    target.readOnly = false;
}

inline void OpenAgain(const Actors& with) {
    Subject& target = with.target;
    if (target.Level() != nullptr && target.HasPicture()) {
        target.OpenLevelAgain();
        ModelPicture& picture = target.held.picture;
        picture.flat.colors = target.onDisk->picture.flat.colors;
        picture.flat.numColors = target.onDisk->picture.flat.numColors;
        picture.xResolution = target.onDisk->picture.xResolution;
        picture.yResolution = target.onDisk->picture.yResolution;
        return;
    }
    if (target.File() == nullptr) return;
    if (target.HasPicture()) Close(with);
    if (!target.onDisk) return;
    const bool readOnly = with.dice.OneIn(4);
    with.Say(readOnly ? "read-only" : "");
    const shr::ZString fileName = target.File()->GetFileName();
    Held held = std::move(*target.onDisk);
    Open(with, fileName, std::move(held), readOnly);
}

inline void Save(const Actors& with) {
    if (with.target.File() != nullptr && with.dice.OneIn(4)) with.target.File()->Save();
}

// ---- Archives.

inline void StoreCancelled(const Actors& with) {
    shr::MemoryArchive archive;
    zbm::SerializeIO io(archive, with.dice.OneIn(2));
    Reports reports(with);
    CameToItsEnd(Try([&] { return with.target.bitmap->Serialize(io, reports.Target(), nullptr); }), reports,
                 Outcome::gaveFalse);
}

/// A record of another class: what is left can be used again.
inline void LoadForeign(const Actors& with, zbm::SerializeIO& io) {
    Subject& target = with.target;
    const std::optional<Held> former = target.onDisk         ? target.onDisk
                                       : target.HasPicture() ? std::optional(target.held)
                                                             : std::nullopt;
    const auto load = [&] { return target.bitmap->Serialize(io, nullptr, nullptr); };
    try {
        (void)load();
        // The record of a square picture in a file can be that of a level whose pixels are damaged.
        Demand(target.Level() != nullptr && io.DamagedBlocks() > 0, "a record of another class is loaded");
    } catch (const shr::InternalError& error) {
        throw Mismatch(std::string("a record of another class raises ") + error.what());
    } catch (const shr::Exception&) {
        // As it should be.
    }
    if (target.File() == nullptr) return Setup(with);
    if (target.Cached() != nullptr) {
        target.Become(NewModel(1, 1, shr::BGRA_32));
        return;
    }
    target.BecomeNone();
    target.Verify();
    if (!shr::PathExists(target.name) || !former) return;
    OpenFileBitmap opened;
    opened.Open(target.name, true);
    Demand(AreAlike(Found(opened), former->picture), "the former picture");
    target.onDisk = former;
}

/// A cancelled load leaves one pixel in memory and in a file that it has made, which holds the picture where only
/// levels were to come; a former file stays what it was.
inline void TakeCancelledLoad(const Actors& with, const ModelPicture& archived) {
    Subject& target = with.target;
    with.Say("(cancelled)");
    if (target.IsInMemory() || target.Cached() != nullptr) {
        BecomeMade(target, NewModel(1, 1, shr::BGRA_32), false);
        if (target.Reduced() != nullptr) target.held.levels.clear(), target.held.levelsKnown = true;
        return;
    }
    const std::optional<Held> former = target.HasPicture() ? std::optional(target.held) : std::nullopt;
    target.BecomeNone();
    if (target.File() == nullptr) return;
    target.Verify();
    OpenFileBitmap opened;
    opened.Open(target.name, true);
    const ModelPicture found = Found(opened);
    if (former) {
        Demand(AreAlike(found, former->picture), "the former picture");
        target.onDisk = former;
        return;
    }
    if (found.flat.width != 1 || found.flat.height != 1) Demand(AreAlike(found, archived), "the picture in the file");
    target.onDisk = Held{found, {}, false};
}

inline void Load(const Actors& with) {
    Subject &target = with.target, &other = with.other;
    constexpr zcdl::CodecMethod kMethods[] = {zcdl::CodecMethod::stored, zcdl::CodecMethod::balanced};
    const bool withLevels = with.dice.OneIn(2);
    shr::MemoryArchive written;
    zbm::SerializeIO storing(written, withLevels, kMethods[with.dice.Below(2)]);
    Demand(other.bitmap->Serialize(storing, nullptr, nullptr), "the record is stored");
    shr::MemoryArchive archive(written.Bytes());
    zbm::SerializeIO io(archive, false);
    with.Say(withLevels ? "with levels" : "");

    Held archived = other.held;
    if (!withLevels || !other.KeepsReductions()) {
        archived.levels.clear();
        archived.levelsKnown = true;
    }
    archived.stale = !withLevels;
    ModelPicture& picture = archived.picture;
    if (RecordOf(target.kind) == RecordKind::file) picture.tileWidth = picture.tileHeight = 512;
    if (RecordOf(target.kind) == RecordKind::level && other.Level() != nullptr) {
        picture.flat.colors = other.onDisk->picture.flat.colors;
        picture.flat.numColors = other.onDisk->picture.flat.numColors;
        const ModelPicture fresh = NewModel(picture.flat.width, picture.flat.height, picture.flat.format);
        const auto stated = [](int value, int otherwise) { return value >= 1 ? value : otherwise; };
        picture.xResolution = stated(other.onDisk->picture.xResolution, fresh.xResolution);
        picture.yResolution = stated(other.onDisk->picture.yResolution, fresh.yResolution);
    }

    const auto load = [&](shr::IProgress* progress) { return target.bitmap->Serialize(io, progress, nullptr); };
    if (target.File() != nullptr && target.Cached() == nullptr) {
        const bool isTaken = !target.HasPicture() && (target.onDisk || target.File()->GetFileName().IsEmpty());
        if (target.readOnly || isTaken)
            return Refuses("a load into what may not be written", [&] { return load(nullptr); });
    }
    if (target.Level() != nullptr) target.BecomeNewLevel(with.dice.Below(100));
    if (RecordOf(target.kind) != RecordOf(other.kind)) return LoadForeign(with, io);
    Reports reports(with);
    if (!CameToItsEnd(Try([&] { return load(reports.Target()); }), reports, Outcome::gaveFalse))
        return TakeCancelledLoad(with, picture);
    Demand(io.DamagedBlocks() == 0, "no damaged blocks");
    Demand(archive.RemainingBytes() == 0, "the whole record is read");
    target.Become(std::move(picture));
    target.held.levels = std::move(archived.levels);
    target.held.levelsKnown = archived.levelsKnown;
    target.held.stale = archived.stale;
    if (target.Level() != nullptr) target.onDisk = target.held;
}

// ---- What is refused, or has no effect.

inline void MisuseLocks(const Actors& with) {
    const ZBitmap& bitmap = *with.target.bitmap;
    Refuses("a tile outside", [&] { return bitmap.LockScanRect(bitmap.GetNumScanRectRows(), 0), true; });
    Refuses("a tile outside", [&] { return bitmap.LockScanRect(-1, 0), true; });
    if (with.target.IsInMemory()) return;
    const zbm::LockedTile tile(bitmap, 0, 0);
    Refuses("a second lock", [&] { return bitmap.LockScanRect(0, 0), true; });
    Refuses("an unlock outside", [&] { return bitmap.UnlockScanRect(0, bitmap.GetNumScanRects(0)), true; });
}

inline void MisuseArguments(const Actors& with) {
    ZBitmap& bitmap = *with.target.bitmap;
    std::uint8_t none[4] = {};
    std::vector<RGBQUAD> palette;
    Refuses("a negative rectangle", [&] { return bitmap.FetchRegion(none, 4, RECT{-1, 0, 1, 1}), true; });
    Refuses("an empty rectangle", [&] { return bitmap.FetchRegion(none, 4, RECT{1, 0, 1, 1}), true; });
    Refuses("too bright", [&] { return bitmap.ChangeBrightness(1.001, nullptr); });
    Refuses("too much contrast", [&] { return bitmap.ChangeContrast(-1.001, nullptr); });
    Refuses("too much saturation", [&] { return bitmap.ChangeSaturation(2, nullptr); });
    Refuses("too sharp", [&] { return bitmap.Sharpen(2, nullptr); });
    Refuses("no method", [&] { return bitmap.QuantizeColors(static_cast<zbm::QuantMethod>(4), 8, palette, nullptr); });
    if (bitmap.GetNumColorTableItems() == 0)
        Refuses("no colour", [&] { return bitmap.GetColorTableItem(0), true; });
    else
        Refuses("no such colour", [&] { return bitmap.GetColorTableItem(bitmap.GetNumColorTableItems()), true; });
}

/// An empty or closed bitmap does nothing, and raises nothing but what is stated.
inline void UseNothing(const Actors& with) {
    if (with.target.state != State::none) return;
    ZBitmap& bitmap = *with.target.bitmap;
    std::uint8_t bytes[64] = {};
    bitmap.FetchRegion(bytes, 16, RECT{0, 0, 4, 4});
    bitmap.StoreRegion(bytes, 16, RECT{0, 0, 4, 4});
    for (const std::uint8_t byte : bytes) Demand(byte == 0, "nothing is fetched");
    Refuses("a filter of nothing", [&] { return bitmap.ConvertToGrayScale(nullptr); });
    Refuses("a tile of nothing", [&] { return bitmap.LockScanRect(0, 0), true; });
    Demand(bitmap.CommitAll(nullptr), "nothing to commit");
}

}  // namespace operations

struct Operation {
    const char* name;
    void (*act)(const Actors& with);
    bool needsTarget, needsOther;  ///< a picture in it
    int weight;
};

inline constexpr Operation kOperations[] = {
    {"Setup", &operations::Setup, false, false, 3},
    {"StoreRegion", &operations::StoreRegion, true, false, 6},
    {"FetchRegion", &operations::FetchRegion, true, false, 4},
    {"WriteTile", &operations::WriteTile, true, false, 5},
    {"SetMask", &operations::SetMask, true, false, 4},
    {"GetAlpha", &operations::GetAlpha, true, false, 3},
    {"FillColors", &operations::FillColors, true, false, 4},
    {"SetResolution", &operations::SetResolution, true, false, 3},
    {"ForgetResolution", &operations::ForgetResolution, true, false, 1},
    {"Adjust", &operations::Adjust, true, false, 8},
    {"AdjustByNothing", &operations::AdjustByNothing, true, false, 1},
    {"CommitAll", &operations::CommitAll, true, false, 8},
    {"CreateNew", &operations::CreateNew, false, false, 4},
    {"CreateCopy", &operations::CreateCopy, false, true, 6},
    {"CreateInFormat", &operations::CreateInFormat, false, true, 6},
    {"CreateAtSize", &operations::CreateAtSize, false, true, 6},
    {"FillLevel", &operations::FillLevel, true, true, 3},
    {"CreateFromDib", &operations::CreateFromDib, false, false, 3},
    {"CopyInMemory", &operations::CopyInMemory, false, true, 5},
    {"Move", &operations::Move, false, true, 3},
    {"ChangeFrom", &operations::ChangeFrom, false, true, 4},
    {"ChangeFromCached", &operations::ChangeFromCached, false, false, 3},
    {"Close", &operations::Close, true, false, 2},
    {"OpenAgain", &operations::OpenAgain, false, false, 6},
    {"Save", &operations::Save, true, false, 1},
    {"StoreCancelled", &operations::StoreCancelled, true, false, 2},
    {"Load", &operations::Load, false, true, 8},
    {"MisuseLocks", &operations::MisuseLocks, true, false, 1},
    {"MisuseArguments", &operations::MisuseArguments, true, false, 1},
    {"UseNothing", &operations::UseNothing, false, false, 1},
};

}  // namespace testkit
