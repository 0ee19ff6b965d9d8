#pragma once
// jpeglib.h needs FILE, but does not include it.
#include <cstdio>
// Keep this order.
#include <jpeglib.h>

#include <array>
#include <cstdint>
#include <vector>

#include "pictures/LibraryGuard.h"
#include "pictures/PictureSource.h"

namespace tool {

inline constexpr const char* kCodedDataEndsTooEarly = "its arithmetic-coded data ends too early";

/// Hands a file to the JPEG library, piece by piece, and tells whether arithmetic-coded data was all there.
///
/// An arithmetic decoder that finds no more data goes on with zero bytes: an encoder leaves zeros at the end of its
/// data out. So it shows noise for the rest of a picture that was cut, and no error. What tells the two apart is how
/// many zeros it takes: two or three for what it has read ahead, at most some twenty for an end of a single colour, but
/// as many as the picture itself had for noise. Therefore zeros are put before each marker that ends such data. The
/// library skips those that it did not take, and says so; when it took all of them, the data was cut. Only the last
/// data counts: cuts are at the end, and patterns that repeat take zeros too.
class JpegInput final : jpeg_source_mgr {
public:
    JpegInput(PictureSource& pictureSource, LibraryGuard& libraryGuard);
    JpegInput(const JpegInput&) = delete;
    JpegInput& operator=(const JpegInput&) = delete;

    /// `decoder` borrows this object.
    void AttachTo(jpeg_decompress_struct& jpegDecoder);

    /// To be called before arithmetic-coded data is decoded, with the decoder at its first byte. `blocksOfPicture`
    /// is how many it has.
    void WatchArithmeticData(std::uint64_t blocksOfPicture);
    /// To be called when the library reports that it skipped bytes before a marker.
    void NoteSkippedBytes() { sparesTaken = false; }
    /// To be asked before each row is decoded or, of a picture in several scans, each row of blocks: whether what
    /// follows is made up, since the decoder is past the last data and all zeros, or far past other data. Else a few
    /// bytes could make gigabytes.
    bool IsMadeUp();
    /// To be called when the picture is decoded. Raises std::runtime_error if its last data was cut.
    void RequireWholeData() const;

private:
    /// Where in the stream the next byte lies.
    enum class Place { data, betweenSegments, markerCode, lengthHigh, lengthLow, segment };

    static JpegInput& Of(j_decompress_ptr library);
    static boolean OnFill(j_decompress_ptr library);
    static void OnSkip(j_decompress_ptr library, long byteCount);

    void HandOutNextPiece();
    bool Refill();
    bool ScanHasBareBits() const;
    void HandOut(const std::uint8_t* bytes, std::size_t count);
    std::size_t WatchedPiece();
    std::size_t PieceOfData();
    std::size_t PieceOfMarkers();
    void PassMarkerByte(std::uint8_t byte);
    Place BehindSegment() const;

    jpeg_decompress_struct* decoder = nullptr;
    PictureSource& source;
    LibraryGuard& guard;
    std::array<std::uint8_t, 65536> buffer;
    std::size_t begin = 0, end = 0;  // of what was not yet handed out

    bool watching = false;
    std::uint64_t blocks = 0, blocksPastData = 0;
    Place place = Place::data;
    std::uint8_t code = 0;  // of the segment's marker
    std::size_t segmentLeft = 0;
    std::vector<std::uint8_t> spares;
    bool sparesDue = false;    // before what is handed out next
    bool sparesTaken = false;  // handed out, and no byte of them skipped so far
};

}  // namespace tool
