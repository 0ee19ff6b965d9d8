#pragma once
// A device context that goes pixel by pixel: the judge of the others. It knows what drawing asks of a device, and draws
// into a picture.
#include "device/DeviceFunctions.h"
#include "device/Scenes.h"

namespace testkit {

struct PlainMapping {
    long windowOrg = 0, windowExt = 1, viewportOrg = 0, viewportExt = 1;

    long ToDevice(long value) const;  ///< halves up
    long ToLogical(long value) const;
};

class PlainDevice {
public:
    explicit PlainDevice(Picture& drawnInto);

    HDC Handle() { return reinterpret_cast<HDC>(this); }
    static const zbm::DeviceFunctions& Functions();

    /// In device units, in either order of its corners.
    void Clip(const RECT& rect);

    PlainMapping mapAcross, mapDown;

    struct Source {
        const std::uint8_t* bits;
        const BITMAPINFO* info;
        long firstLine, lines;
        bool HasColumn(long column) const;
        bool HasRow(long row) const;
        std::uint32_t PixelAt(long column, long row) const;  ///< rows from the bottom
    };
    /// A pixel, if it is within the clip.
    void Set(long x, long y, std::uint32_t pixel);
    void Stretch(long x, long y, long width, long height, long sourceX, long sourceY, long sourceWidth,
                 long sourceHeight, const Source& source);

    Picture& picture;
    RECT clip;
    PlainMapping savedAcross, savedDown;
};

}  // namespace testkit
