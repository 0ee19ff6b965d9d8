#include "device/Scenes.h"

#include <array>
#include <cstdlib>
#include <random>

#include "device/DeviceFunctions.h"
#include "device/PlainDevice.h"
#include "support/gdi/Section.h"
#include "support_code/FormulaPicture.h"

namespace testkit {
namespace {

using Kind = Scene::Kind;

class Dice {
public:
    explicit Dice(unsigned seed) : engine(seed) {}
    int Between(int least, int most) {
        return least + static_cast<int>(engine() % static_cast<unsigned>(most - least + 1));
    }
    bool OneIn(int n) { return Between(1, n) == 1; }
    template <class Value, std::size_t count>
    Value Of(const Value (&values)[count]) {
        return values[Between(0, static_cast<int>(count) - 1)];
    }
    /// Odd or a power of two, so that no mapped number lies halfway between two or has a half that no float holds.
    int Extent() {
        const int extent = OneIn(2) ? 2 * Between(0, 15) + 1 : 1 << Between(0, 5);
        return OneIn(10) ? -extent : extent;
    }

private:
    std::mt19937 engine;
};

void SetContext(Scene& scene, Dice& dice) {
    for (int clips = dice.OneIn(2) ? 0 : dice.Between(1, 2); clips > 0; --clips)
        scene.clips.push_back({dice.Between(-5, 20), dice.Between(-5, 16), dice.Between(16, 55), dice.Between(12, 45)});
    if (dice.OneIn(2)) return;
    scene.viewportOrg = {dice.Between(-10, 20), dice.Between(-10, 20)};
    if (dice.OneIn(3)) scene.windowOrg = {dice.Between(-10, 10), dice.Between(-10, 10)};
    if (dice.OneIn(3)) return;
    scene.mapMode = MM_ANISOTROPIC;
    scene.windowExt = {dice.Extent(), dice.Extent()};
    scene.viewportExt = {dice.Extent(), dice.Extent()};
}

void SetDib(Scene& scene, Dice& dice) {
    scene.bitCount = dice.Of<int>({1, 4, 8, 24, 32});
    scene.dibWidth = dice.Between(1, 40);
    scene.dibHeight = dice.Between(1, 40) * (dice.OneIn(3) ? -1 : 1);
    if (scene.bitCount <= 8 && dice.OneIn(3))
        scene.colors = static_cast<unsigned>(dice.Between(1, 1 << scene.bitCount));
    const int height = std::abs(scene.dibHeight);
    const bool whole = !dice.OneIn(3);
    scene.sourceX = whole ? 0 : dice.Between(-8, scene.dibWidth / 2);
    scene.sourceY = whole ? 0 : dice.Between(-8, height / 2);
    scene.sourceWidth = whole ? scene.dibWidth : dice.Between(1, scene.dibWidth + 8);
    scene.sourceHeight = whole ? height : dice.Between(1, height + 8);
    scene.firstLine = whole || dice.OneIn(2) ? 0 : static_cast<unsigned>(dice.Between(0, height));
    scene.lines = static_cast<unsigned>(whole ? height : dice.Between(height / 2, height));
}

void SetBitmap(Scene& scene, Dice& dice) {
    scene.format = kFormats[static_cast<std::size_t>(dice.Between(0, 12))];
    scene.bitmapWidth = dice.Between(1, 40);
    scene.bitmapHeight = dice.Between(1, 40);
    scene.tileWidth = dice.Between(3, 40);
    scene.tileHeight = dice.Between(3, 40);
}

int SizeFor(Dice& dice, int source) {
    if (dice.OneIn(8)) return source;
    const int size = dice.OneIn(2) ? dice.Between(source / 3, source) : dice.Between(source, 3 * source + 5);
    return dice.OneIn(8) ? -size : size;
}

Scene Begun(unsigned number, Kind kind) {
    Scene scene{};
    scene.number = number;
    scene.kind = kind;
    scene.width = 48;
    scene.height = 40;
    return scene;
}

struct Mappings {
    PlainMapping across, down;
};
Mappings MappingsOf(const Scene& scene) {
    return {{scene.windowOrg.x, scene.windowExt.cx, scene.viewportOrg.x, scene.viewportExt.cx},
            {scene.windowOrg.y, scene.windowExt.cy, scene.viewportOrg.y, scene.viewportExt.cy}};
}

void TakeWholeSource(Scene& scene) {
    scene.sourceX = scene.sourceY = 0;
    scene.sourceWidth = scene.dibWidth;
    scene.sourceHeight = std::abs(scene.dibHeight);
}

Scene Finished(Scene scene, Dice& dice) {
    SetContext(scene, dice);
    const bool isOfDib = scene.kind == Kind::setDib || scene.kind == Kind::stretchDib;
    if (isOfDib)
        SetDib(scene, dice);
    else
        SetBitmap(scene, dice);
    // Chosen as the device sees them, so that most of it shows.
    const auto [across, down] = MappingsOf(scene);
    const int left = dice.Between(-10, 35), top = dice.Between(-10, 28);
    const int toWidth = SizeFor(dice, isOfDib ? scene.sourceWidth : scene.bitmapWidth);
    const int toHeight = SizeFor(dice, isOfDib ? scene.sourceHeight : scene.bitmapHeight);
    scene.x = static_cast<int>(across.ToLogical(left));
    scene.y = static_cast<int>(down.ToLogical(top));
    scene.toWidth = static_cast<int>(across.ToLogical(left + toWidth)) - scene.x;
    scene.toHeight = static_cast<int>(down.ToLogical(top + toHeight)) - scene.y;
    // Wine shifts a mirrored rectangle by a part of what its source lacks, which is nothing to go by.
    const bool isMirrored = across.ToDevice(scene.x + scene.toWidth) < across.ToDevice(scene.x) ||
                            down.ToDevice(scene.y + scene.toHeight) < down.ToDevice(scene.y);
    if (scene.kind == Kind::stretchDib && isMirrored) TakeWholeSource(scene);
    return scene;
}

std::uint32_t NextOf(std::uint32_t& state) { return state = state * 1664525 + 1013904223; }

/// The DIB's record with its table, and its bits.
struct RandomDib {
    struct {
        BITMAPINFOHEADER header{};
        RGBQUAD colors[256]{};
    } record;
    std::vector<std::uint8_t> bits;

    explicit RandomDib(const Scene& scene)
        : bits(static_cast<std::size_t>(PaddedRowBytes(scene.dibWidth, scene.bitCount) * std::abs(scene.dibHeight))) {
        record.header = {sizeof(BITMAPINFOHEADER),
                         scene.dibWidth,
                         scene.dibHeight,
                         1,
                         static_cast<WORD>(scene.bitCount),
                         BI_RGB,
                         0,
                         0,
                         0,
                         scene.colors,
                         0};
        std::uint32_t state = scene.number;
        const auto byte = [&] { return static_cast<std::uint8_t>(NextOf(state) >> 24); };
        for (RGBQUAD& color : record.colors) color = {byte(), byte(), byte(), byte()};
        for (std::uint8_t& value : bits) value = byte();
    }
    const BITMAPINFO* Info() const { return reinterpret_cast<const BITMAPINFO*>(&record); }
};

void Draw(const Scene& scene, const zbm::DeviceFunctions& device, HDC dc) {
    if (scene.kind == Kind::setDib || scene.kind == Kind::stretchDib) {
        const RandomDib dib(scene);
        if (scene.kind == Kind::setDib) {
            device.setDiBitsToDevice(dc, scene.x, scene.y, static_cast<DWORD>(scene.sourceWidth),
                                     static_cast<DWORD>(scene.sourceHeight), scene.sourceX, scene.sourceY,
                                     scene.firstLine, scene.lines, dib.bits.data(), dib.Info(), DIB_RGB_COLORS);
        } else {
            device.setStretchBltMode(dc, COLORONCOLOR);
            device.stretchDiBits(dc, scene.x, scene.y, scene.toWidth, scene.toHeight, scene.sourceX, scene.sourceY,
                                 scene.sourceWidth, scene.sourceHeight, dib.bits.data(), dib.Info(), DIB_RGB_COLORS,
                                 SRCCOPY);
        }
        return;
    }
    auto bitmap = FormulaBitmap(scene.bitmapWidth, scene.bitmapHeight, scene.format, scene.tileWidth, scene.tileHeight);
    const zbm::ScopedDevice scoped(device);
    RECT rect{scene.x, scene.y, scene.x + scene.toWidth, scene.y + scene.toHeight};
    if (scene.kind == Kind::setBitmap)
        bitmap.SetPixelsOnDevice(dc, scene.x, scene.y);
    else
        bitmap.StretchToLogRect(dc, rect);
}

/// Whether some pixel's place lies just between two, where it could go either way.
bool HasTie(int from, int to) {
    const int more = std::max(from, to), less = std::min(from, to);
    for (int i = 0; i < more; ++i)
        if ((2 * i + 1) * less % (2 * more) == 0) return true;
    return false;
}

}  // namespace

Scene MakeScene(unsigned number) {
    Dice dice(number + 1);
    return Finished(Begun(number, static_cast<Kind>(number % 4)), dice);
}

Scene MakeByte3Scene(unsigned number) {
    Dice dice(1000000 + number);
    Scene scene = Finished(Begun(number, number % 2 == 0 ? Kind::setDib : Kind::stretchDib), dice);
    if (dice.OneIn(2)) {
        scene.bitCount = 32;
        scene.colors = 0;
    }
    return scene;
}

std::string DoubtsAbout(const Scene& scene) {
    if (scene.kind == Kind::setDib || scene.kind == Kind::setBitmap) return "";
    const auto [across, down] = MappingsOf(scene);
    const long width = across.ToDevice(scene.x + scene.toWidth) - across.ToDevice(scene.x);
    const long height = down.ToDevice(scene.y + scene.toHeight) - down.ToDevice(scene.y);
    const bool isOfDib = scene.kind == Kind::stretchDib;
    const int fromWidth = isOfDib ? scene.sourceWidth : scene.bitmapWidth;
    const int fromHeight = isOfDib ? scene.sourceHeight : scene.bitmapHeight;
    std::string doubts;
    if (std::labs(height) < fromHeight) doubts += " rows-that-meet";
    if (width < 0 || height < 0) doubts += " mirrored";
    if (HasTie(fromWidth, static_cast<int>(std::labs(width))) ||
        HasTie(fromHeight, static_cast<int>(std::labs(height))))
        doubts += " ties";
    return doubts;
}

Picture DrawBySystem(const Scene& scene) {
    Picture picture(scene.width, scene.height);
    {
        const Section section(scene.width, scene.height);
        for (const RECT& clip : scene.clips)
            IntersectClipRect(section.dc, static_cast<int>(clip.left), static_cast<int>(clip.top),
                              static_cast<int>(clip.right), static_cast<int>(clip.bottom));
        SetMapMode(section.dc, scene.mapMode);
        SetWindowOrgEx(section.dc, static_cast<int>(scene.windowOrg.x), static_cast<int>(scene.windowOrg.y), nullptr);
        SetViewportOrgEx(section.dc, static_cast<int>(scene.viewportOrg.x), static_cast<int>(scene.viewportOrg.y),
                         nullptr);
        if (scene.mapMode != MM_TEXT) {
            SetWindowExtEx(section.dc, static_cast<int>(scene.windowExt.cx), static_cast<int>(scene.windowExt.cy),
                           nullptr);
            SetViewportExtEx(section.dc, static_cast<int>(scene.viewportExt.cx), static_cast<int>(scene.viewportExt.cy),
                             nullptr);
        }
        Draw(scene, zbm::ActiveDevice(), section.dc);
        GdiFlush();
        for (std::size_t i = 0; i < picture.pixels.size(); ++i) picture.pixels[i] = section.pixels[i];
    }
    return picture;
}

Picture DrawPlainly(const Scene& scene) {
    Picture picture(scene.width, scene.height);
    PlainDevice device(picture);
    for (const RECT& clip : scene.clips) device.Clip(clip);
    device.mapAcross = MappingsOf(scene).across;
    device.mapDown = MappingsOf(scene).down;
    Draw(scene, PlainDevice::Functions(), device.Handle());
    return picture;
}

std::string ChecksumOf(const Picture& picture, Bytes bytes) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const std::uint32_t pixel : picture.pixels)
        for (int k = 0; k < (bytes == Bytes::all ? 4 : 3); ++k)
            hash = (hash ^ (pixel >> (8 * k) & 255)) * 0x100000001B3;
    std::string text(16, '0');
    for (std::size_t i = 16; i-- > 0; hash >>= 4) text[i] = "0123456789abcdef"[hash & 15];
    return text;
}

}  // namespace testkit
