// jpeglib.h needs FILE, but does not include it.
#include <cstdio>
// Keep this order.
#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "pictures/Exif.h"
#include "pictures/LibraryGuard.h"
#include "pictures/PictureReader.h"
#include "pictures/Resolution.h"

namespace tool {

namespace {

constexpr std::size_t kBufferBytes = 65536;
/// A progressive picture is gone over once a scan; real ones have about ten scans, forged ones thousands.
constexpr int kMostScans = 500;

class JpegReader final : public PictureReader {
public:
    JpegReader(PictureSource& pictureSource, Notes& target);
    ~JpegReader() override { jpeg_destroy_decompress(&decoder); }
    JpegReader(const JpegReader&) = delete;
    JpegReader& operator=(const JpegReader&) = delete;

    const PictureInfo& Info() const override { return pictureInfo; }
    void ReadInto(TileRows& rows, shr::IProgress& progress) override;

private:
    void OpenFile();
    void ReadHeader();
    void RefuseImplausibleSize() const;
    void ReadResolution(const Exif& exif);
    Exif FindExif() const;
    void ReadColorProfile();

    static JpegReader& Of(j_common_ptr library) { return *static_cast<JpegReader*>(library->client_data); }
    static JpegReader& Of(j_decompress_ptr library) { return *static_cast<JpegReader*>(library->client_data); }
    static boolean OnFill(j_decompress_ptr library);
    static void OnSkip(j_decompress_ptr library, long byteCount);
    static void OnError(j_common_ptr library);
    static void OnMessage(j_common_ptr library, int level);
    static void OnProgress(j_common_ptr library);

    PictureSource& source;
    Notes& notes;
    LibraryGuard guard;
    PictureInfo pictureInfo;
    jpeg_decompress_struct decoder{};
    jpeg_error_mgr errors{};
    jpeg_source_mgr input{};
    jpeg_progress_mgr scans{};
    std::array<JOCTET, kBufferBytes> buffer;
};

JpegReader::JpegReader(PictureSource& pictureSource, Notes& target) : source(pictureSource), notes(target) {
    decoder.err = jpeg_std_error(&errors);
    errors.error_exit = &OnError;
    errors.emit_message = &OnMessage;
    decoder.client_data = this;
    try {
        OpenFile();
        ReadHeader();
    } catch (...) {
        jpeg_destroy_decompress(&decoder);
        throw;
    }
}

void JpegReader::OpenFile() {
    guard.Run([this] {
        jpeg_create_decompress(&decoder);
        input.init_source = [](j_decompress_ptr) {};
        input.fill_input_buffer = &OnFill;
        input.skip_input_data = &OnSkip;
        input.resync_to_restart = &jpeg_resync_to_restart;
        input.term_source = [](j_decompress_ptr) {};
        decoder.src = &input;
        scans.progress_monitor = &OnProgress;
        decoder.progress = &scans;
        jpeg_save_markers(&decoder, JPEG_APP0 + 1, 0xFFFF);  // EXIF
        jpeg_save_markers(&decoder, JPEG_APP0 + 2, 0xFFFF);  // colour profile
        jpeg_read_header(&decoder, TRUE);
    });
}

void JpegReader::ReadHeader() {
    switch (decoder.num_components) {
        case 1:
            decoder.out_color_space = JCS_GRAYSCALE;
            pictureInfo.format = shr::GRAYSCALE_8;
            break;
        case 3:
            decoder.out_color_space = JCS_EXT_BGR;
            pictureInfo.format = shr::BGR_24;
            break;
        case 4: throw std::runtime_error("CMYK pictures are not supported");
        default: throw std::runtime_error("its number of colour components is not supported");
    }
    pictureInfo.width = static_cast<int>(decoder.image_width);
    pictureInfo.height = static_cast<int>(decoder.image_height);
    RefuseImplausibleSize();
    if (jpeg_has_multiple_scans(&decoder) != FALSE) {
        // All coefficients, 16 bits each, have to be there before the first row is.
        pictureInfo.decoderBytes = std::uint64_t{decoder.image_width} * decoder.image_height *
                                   static_cast<unsigned>(decoder.num_components) * sizeof(JCOEF);
    }
    const Exif exif = FindExif();
    ReadResolution(exif);
    pictureInfo.metadata.orientation = exif.orientation;
    ReadColorProfile();
}

void JpegReader::RefuseImplausibleSize() const {
    // Huffman coding takes a bit at least for each block of 64 samples; arithmetic coding may take less.
    const std::uint64_t pixels = std::uint64_t{decoder.image_width} * decoder.image_height;
    const std::uint64_t perBlock = 64u * static_cast<unsigned>(decoder.max_h_samp_factor * decoder.max_v_samp_factor);
    if (decoder.arith_code == FALSE) {
        source.RefuseUnlessHolding(pixels / perBlock / 8, pictureInfo.width, pictureInfo.height);
    }
}

void JpegReader::ReadResolution(const Exif& exif) {
    if (decoder.saw_JFIF_marker != FALSE && decoder.density_unit != 0) {
        const ResolutionUnit unit = decoder.density_unit == 1 ? ResolutionUnit::inch : ResolutionUnit::centimeter;
        pictureInfo.xPixelsPerMeter = PixelsPerMeter(decoder.X_density, unit);
        pictureInfo.yPixelsPerMeter = PixelsPerMeter(decoder.Y_density, unit);
    } else {
        pictureInfo.xPixelsPerMeter = exif.xPixelsPerMeter;
        pictureInfo.yPixelsPerMeter = exif.yPixelsPerMeter;
    }
}

Exif JpegReader::FindExif() const {
    constexpr std::size_t kHead = 6;
    for (jpeg_saved_marker_ptr marker = decoder.marker_list; marker != nullptr; marker = marker->next) {
        if (marker->marker == JPEG_APP0 + 1 && marker->data_length > kHead &&
            std::memcmp(marker->data, "Exif\0\0", kHead) == 0) {
            return ReadExif(marker->data + kHead, marker->data_length - kHead);
        }
    }
    return {};
}

void JpegReader::ReadColorProfile() {
    JOCTET* bytes = nullptr;
    unsigned length = 0;
    guard.Run([&] { jpeg_read_icc_profile(&decoder, &bytes, &length); });
    const std::unique_ptr<JOCTET, void (*)(void*)> owner(bytes, std::free);
    if (bytes != nullptr) pictureInfo.metadata.colorProfile.assign(bytes, bytes + length);
}

void JpegReader::ReadInto(TileRows& rows, shr::IProgress& progress) {
    guard.Run([this] { jpeg_start_decompress(&decoder); });
    if (decoder.output_width != decoder.image_width || decoder.output_height != decoder.image_height) {
        throw std::runtime_error("its size is not what its header says");
    }
    std::vector<std::uint8_t> row(std::size_t{decoder.output_width} * static_cast<unsigned>(decoder.output_components));
    JSAMPROW rowPointer = row.data();
    for (int y = 0; y < pictureInfo.height; ++y) {
        progress.SetProgress(static_cast<double>(y) / pictureInfo.height);
        guard.Run([&] { jpeg_read_scanlines(&decoder, &rowPointer, 1); });
        rows.Store(0, y, pictureInfo.width, row.data(), nullptr);
    }
    guard.Run([this] { jpeg_finish_decompress(&decoder); });
}

boolean JpegReader::OnFill(j_decompress_ptr library) {
    JpegReader& self = Of(library);
    std::size_t count = 0;
    if (!self.guard.Try([&] { count = self.source.Read(self.buffer.data(), self.buffer.size()); })) self.guard.Fail("");
    // The library would make up the rest of the picture.
    if (count == 0) self.guard.Fail(kEndsTooEarly);
    self.input.next_input_byte = self.buffer.data();
    self.input.bytes_in_buffer = count;
    return TRUE;
}

void JpegReader::OnSkip(j_decompress_ptr library, long byteCount) {
    JpegReader& self = Of(library);
    if (byteCount <= 0) return;
    const auto skipped = static_cast<std::size_t>(byteCount);
    const std::size_t buffered = std::min(skipped, self.input.bytes_in_buffer);
    self.input.next_input_byte += buffered;
    self.input.bytes_in_buffer -= buffered;
    const auto beyond = static_cast<std::int64_t>(skipped - buffered);
    if (beyond == 0) return;
    if (beyond > self.source.Length() - self.source.Position()) self.guard.Fail(kEndsTooEarly);
    if (!self.guard.Try([&] { self.source.Seek(self.source.Position() + beyond); })) self.guard.Fail("");
}

void JpegReader::OnError(j_common_ptr library) {
    char message[JMSG_LENGTH_MAX];
    library->err->format_message(library, message);
    Of(library).guard.Fail(message);
}

void JpegReader::OnMessage(j_common_ptr library, int level) {
    if (level >= 0) return;  // traces; warnings are negative
    JpegReader& self = Of(library);
    char message[JMSG_LENGTH_MAX];
    library->err->format_message(library, message);
    if (!self.guard.Try([&] { self.notes.Warn(message); })) self.guard.Fail("");
}

void JpegReader::OnProgress(j_common_ptr library) {
    JpegReader& self = Of(library);
    if (self.decoder.input_scan_number > kMostScans) self.guard.Fail("it has too many scans");
}

}  // namespace

std::unique_ptr<PictureReader> OpenJpeg(PictureSource& source, Notes& notes) {
    return std::make_unique<JpegReader>(source, notes);
}

}  // namespace tool
