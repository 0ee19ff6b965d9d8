#include "pictures/JpegInput.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace tool {

namespace {

constexpr std::size_t kFewestSpares = 24;
/// A block of a single colour takes about 2^-14 bits, so this is more than twice as much as a picture of one needs.
constexpr std::uint64_t kBlocksPerSpare = 65536;
/// How many blocks all scans but the last may have behind their data. A real picture comes to as many only if a pattern
/// repeats all over its 30 megapixels or more.
constexpr std::uint64_t kMostBlocksPastData = 1 << 21;

constexpr std::uint8_t kStuffing = 0x00, kMark = 0xFF, kStartOfScan = 0xDA, kEndOfImage = 0xD9, kTemporary = 0x01;
bool IsRestart(int code) { return code >= 0xD0 && code <= 0xD7; }
/// Has no length: restarts, start and end of the image.
bool StandsAlone(std::uint8_t code) {
    return (code >= 0xD0 && code <= 0xD9) || code == kTemporary || code == kStuffing;
}

}  // namespace

JpegInput::JpegInput(PictureSource& pictureSource, LibraryGuard& libraryGuard)
    : jpeg_source_mgr{}, source(pictureSource), guard(libraryGuard) {}

JpegInput& JpegInput::Of(j_decompress_ptr library) { return *static_cast<JpegInput*>(library->src); }

void JpegInput::AttachTo(jpeg_decompress_struct& jpegDecoder) {
    decoder = &jpegDecoder;
    init_source = [](j_decompress_ptr) {};
    fill_input_buffer = &OnFill;
    skip_input_data = &OnSkip;
    resync_to_restart = &jpeg_resync_to_restart;
    term_source = [](j_decompress_ptr) {};
    decoder->src = this;
}

void JpegInput::WatchArithmeticData(std::uint64_t blocksOfPicture) {
    blocks = blocksOfPicture;
    spares.assign(kFewestSpares + static_cast<std::size_t>(blocks / kBlocksPerSpare), 0);
    watching = true;
    begin = end - bytes_in_buffer;  // take back what lies before the library
    bytes_in_buffer = 0;
}

bool JpegInput::IsMadeUp() {
    const int marker = decoder->unread_marker;  // 0 as long as the decoder has not come upon one
    if (!sparesTaken || marker == 0) return false;
    if (jpeg_has_multiple_scans(decoder) == FALSE) return !IsRestart(marker);
    blocksPastData += blocks / std::max(decoder->total_iMCU_rows, 1u);
    return marker == kEndOfImage || blocksPastData > kMostBlocksPastData;
}

void JpegInput::RequireWholeData() const {
    if (sparesTaken) throw std::runtime_error(kCodedDataEndsTooEarly);
}

boolean JpegInput::OnFill(j_decompress_ptr library) {
    Of(library).HandOutNextPiece();
    return TRUE;
}

void JpegInput::OnSkip(j_decompress_ptr library, long byteCount) {
    JpegInput& self = Of(library);
    if (byteCount <= 0) return;
    auto left = static_cast<std::size_t>(byteCount);
    while (left > self.bytes_in_buffer) {
        left -= self.bytes_in_buffer;
        self.HandOutNextPiece();
    }
    self.next_input_byte += left;
    self.bytes_in_buffer -= left;
}

void JpegInput::HandOutNextPiece() {
    if (std::exchange(sparesDue, false)) {
        sparesTaken = !ScanHasBareBits();
        if (sparesTaken) return HandOut(spares.data(), spares.size());
    }
    // Without more bytes the library would make up the rest of the picture.
    if (begin == end && !Refill()) guard.Fail(kEndsTooEarly);
    const std::size_t piece = watching ? WatchedPiece() : end - begin;
    begin += piece;
    // There are no bytes before a marker that the buffer begins with: then the spares come at once.
    return piece == 0 ? HandOutNextPiece() : HandOut(&buffer[begin - piece], piece);
}

/// Whether the scan holds the last bits of blocks' means: these are not compressed, so any number of zeros may be left
/// out at their end.
bool JpegInput::ScanHasBareBits() const {
    return decoder->progressive_mode != FALSE && decoder->Ss == 0 && decoder->Ah > 0;
}

/// Reads more behind what was not yet handed out; false if there is no more.
bool JpegInput::Refill() {
    std::memmove(buffer.data(), &buffer[begin], end - begin);
    end -= begin;
    begin = 0;
    std::size_t count = 0;
    if (!guard.Try([&] { count = source.Read(&buffer[end], buffer.size() - end); })) guard.Fail("");
    end += count;
    return count > 0;
}

void JpegInput::HandOut(const std::uint8_t* bytes, std::size_t count) {
    next_input_byte = bytes;
    bytes_in_buffer = count;
}

/// How many of the buffer's bytes may be handed out before spares.
std::size_t JpegInput::WatchedPiece() { return place == Place::data ? PieceOfData() : PieceOfMarkers(); }

/// Coded data ends before the first of the marks that a marker's code follows.
std::size_t JpegInput::PieceOfData() {
    for (std::size_t i = begin; i < end; ++i) {
        if (buffer[i] != kMark) continue;
        std::size_t behind = i + 1;
        while (behind < end && buffer[behind] == kMark) ++behind;
        if (behind == end) {
            // What follows decides.
            if (i > begin) return i - begin;
            if (end == buffer.size() || !Refill()) guard.Fail(kEndsTooEarly);
            return PieceOfData();
        }
        if (buffer[behind] == kStuffing) continue;
        place = Place::betweenSegments;
        sparesDue = true;
        return i - begin;
    }
    return end - begin;
}

/// Markers and their segments up to the next coded data.
std::size_t JpegInput::PieceOfMarkers() {
    std::size_t i = begin;
    while (i < end && place != Place::data) PassMarkerByte(buffer[i++]);
    return i - begin;
}

void JpegInput::PassMarkerByte(std::uint8_t byte) {
    switch (place) {
        case Place::betweenSegments:
            if (byte == kMark) place = Place::markerCode;
            break;
        case Place::markerCode:
            if (byte == kMark) break;  // there may be any number of marks
            code = byte;
            place = IsRestart(code) ? Place::data : StandsAlone(code) ? Place::betweenSegments : Place::lengthHigh;
            break;
        case Place::lengthHigh:
            segmentLeft = std::size_t{byte} << 8;
            place = Place::lengthLow;
            break;
        case Place::lengthLow:
            segmentLeft = std::max<std::size_t>(segmentLeft + byte, 2) - 2;  // the length counts itself
            place = segmentLeft == 0 ? BehindSegment() : Place::segment;
            break;
        case Place::segment:
            if (--segmentLeft == 0) place = BehindSegment();
            break;
        case Place::data: break;
    }
}

JpegInput::Place JpegInput::BehindSegment() const {
    return code == kStartOfScan ? Place::data : Place::betweenSegments;
}

}  // namespace tool
