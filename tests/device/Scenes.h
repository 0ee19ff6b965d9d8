#pragma once
// Scenes of drawing as data: made at random from their numbers, drawn by the system's device context or by a plain one,
// and told by a checksum. tests/golden/device has the checksums of Windows' interface, which write_scenes writes.
#include <cstdint>
#include <string>
#include <vector>

#include "gdi/gdi.h"
#include "shr/ColorFormat.h"

namespace testkit {

struct Scene {
    enum class Kind { setDib, stretchDib, setBitmap, stretchBitmap };

    unsigned number;
    Kind kind;
    int width, height;  ///< of the surface

    // What the context is set to.
    std::vector<RECT> clips;
    int mapMode = MM_TEXT;
    POINT windowOrg{0, 0}, viewportOrg{0, 0};
    SIZE windowExt{1, 1}, viewportExt{1, 1};

    // A DIB with random bits, a negative height being top-down, or a bitmap by formula in tiles.
    int bitCount = 0, dibWidth = 0, dibHeight = 0;
    unsigned colors = 0;
    shr::ColorFormat format = shr::FORMAT_NONE;
    int bitmapWidth = 0, bitmapHeight = 0, tileWidth = 0, tileHeight = 0;

    // Where it goes, and what part of a DIB.
    int x = 0, y = 0, toWidth = 0, toHeight = 0;
    int sourceX = 0, sourceY = 0, sourceWidth = 0, sourceHeight = 0;
    unsigned firstLine = 0, lines = 0;
};

Scene MakeScene(unsigned number);
/// Those of 32-bit DIBs and others beside each other, of which byte 3 counts too.
Scene MakeByte3Scene(unsigned number);

inline constexpr unsigned kScenes = 4000, kByte3Scenes = 600;

/// Why an interface of another make may draw the scene otherwise; empty if nothing tells against it.
std::string DoubtsAbout(const Scene& scene);

struct Picture {
    int width, height;
    std::vector<std::uint32_t> pixels;  ///< top row first

    Picture(int w, int h) : width(w), height(h), pixels(static_cast<std::size_t>(w * h), 0xEEEEEEEE) {}
};

Picture DrawBySystem(const Scene& scene);
/// Pixel by pixel, in the plainest words.
Picture DrawPlainly(const Scene& scene);

enum class Bytes { colors, all };
std::string ChecksumOf(const Picture& picture, Bytes bytes);

}  // namespace testkit
