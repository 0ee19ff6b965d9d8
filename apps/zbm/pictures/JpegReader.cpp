#include "pictures/JpegInput.h"
// Keep this order: the messages need the library's header.
#include <jerror.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "pictures/Exif.h"
#include "pictures/LibraryGuard.h"
#include "pictures/PictureReader.h"
#include "pictures/Resolution.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

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
    std::uint64_t Blocks() const;
    void RefuseImplausibleSize() const;
    void RefuseMissingScans();
    void ReadResolution(const Exif& exif);
    Exif FindExif() const;
    const std::uint8_t* Converted(std::vector<std::uint8_t>& row);
    void ReadColorProfile();

    static JpegReader& Of(j_common_ptr library) { return *static_cast<JpegReader*>(library->client_data); }
    static void OnError(j_common_ptr library);
    static void OnMessage(j_common_ptr library, int level);
    static void OnProgress(j_common_ptr library);

    PictureSource& source;
    Notes& notes;
    LibraryGuard guard;
    PictureInfo pictureInfo;
    jpeg_decompress_struct decoder{};
    jpeg_error_mgr errors{};
    jpeg_progress_mgr scans{};
    JpegInput input;
    std::vector<std::uint8_t> bgrRow;
};

JpegReader::JpegReader(PictureSource& pictureSource, Notes& target)
    : source(pictureSource), notes(target), input(source, guard) {
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
        input.AttachTo(decoder);
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
        case 4:
            decoder.out_color_space = JCS_CMYK;
            pictureInfo.format = shr::BGR_24;
            break;
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
    if (decoder.num_components == 4) NotePlainConversion(pictureInfo, notes);
}

std::uint64_t JpegReader::Blocks() const {
    const std::uint64_t pixels = std::uint64_t{decoder.image_width} * decoder.image_height;
    return pixels / 64 * static_cast<unsigned>(decoder.num_components);
}

void JpegReader::RefuseImplausibleSize() const {
    // Huffman coding takes a bit at least for each of the units into which a scan divides the picture. Arithmetic
    // coding knows no such limit, but it takes this much for all but huge pictures of a single colour.
    constexpr unsigned kHuffmanUnitsPerByte = 8, kArithmeticUnitsPerByte = 4096;
    const std::uint64_t pixels = std::uint64_t{decoder.image_width} * decoder.image_height;
    const std::uint64_t perUnit = 64u * static_cast<unsigned>(decoder.max_h_samp_factor * decoder.max_v_samp_factor);
    const unsigned unitsPerByte = decoder.arith_code == FALSE ? kHuffmanUnitsPerByte : kArithmeticUnitsPerByte;
    source.RefuseUnlessHolding(pixels / perUnit / unitsPerByte, pictureInfo.width, pictureInfo.height);
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
    if (decoder.saw_JFIF_marker != FALSE && decoder.density_unit == 0 && pictureInfo.xPixelsPerMeter == 0) {
        pictureInfo.metadata.xAspect = decoder.X_density;
        pictureInfo.metadata.yAspect = decoder.Y_density;
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

/// The row in the bitmap's format.
const std::uint8_t* JpegReader::Converted(std::vector<std::uint8_t>& row) {
    if (decoder.num_components != 4) return row.data();
    // By a convention of Adobe's programs such files hold what the inks let through; others hold the inks.
    if (decoder.saw_Adobe_marker == FALSE) {
        for (std::uint8_t& sample : row) sample = static_cast<std::uint8_t>(~sample);
    }
    bgrRow.resize(3 * std::size_t{decoder.output_width});
    InksToBgr(bgrRow.data(), row.data(), pictureInfo.width);
    return bgrRow.data();
}

void JpegReader::ReadInto(TileRows& rows, shr::IProgress& progress) {
    guard.Run([this] {
        if (decoder.arith_code != FALSE) input.WatchArithmeticData(Blocks());
        jpeg_start_decompress(&decoder);
    });
    RefuseMissingScans();
    if (decoder.output_width != decoder.image_width || decoder.output_height != decoder.image_height) {
        throw std::runtime_error("its size is not what its header says");
    }
    std::vector<std::uint8_t> row(std::size_t{decoder.output_width} * static_cast<unsigned>(decoder.output_components));
    JSAMPROW rowPointer = row.data();
    for (int y = 0; y < pictureInfo.height; ++y) {
        progress.SetProgress(static_cast<double>(y) / pictureInfo.height);
        guard.Run([&] { jpeg_read_scanlines(&decoder, &rowPointer, 1); });
        rows.Store(0, y, pictureInfo.width, Converted(row), nullptr);
    }
    guard.Run([this] { jpeg_finish_decompress(&decoder); });
    input.RequireWholeData();
}

/// Of a picture in several scans, all of which were read: what the library shows where one is missing is grey or
/// blurred.
void JpegReader::RefuseMissingScans() {
    constexpr const char* kMissing = "some of its scans are missing";
    bool detailsMissing = false;
    for (int i = 0; i < decoder.num_components; ++i) {
        if (decoder.comp_info[i].quant_table == nullptr) throw std::runtime_error(kMissing);
        if (decoder.progressive_mode == FALSE) continue;
        // For each coefficient: how many of its low bits are yet to come, or -1 if nothing of it was there.
        const auto& missingBits = decoder.coef_bits[i];
        const bool begun = std::any_of(missingBits, missingBits + DCTSIZE2, [](int bits) { return bits > 0; });
        if (begun || missingBits[0] < 0) throw std::runtime_error(kMissing);
        detailsMissing |= std::any_of(missingBits, missingBits + DCTSIZE2, [](int bits) { return bits < 0; });
    }
    if (detailsMissing) notes.Warn("it holds no fine details; they may have been cut off");
}

void JpegReader::OnError(j_common_ptr library) {
    char message[JMSG_LENGTH_MAX];
    library->err->format_message(library, message);
    Of(library).guard.Fail(message);
}

/// Whether the warning tells that pixels are missing, for which the library shows something made up.
bool TellsOfMissingData(int message) {
    switch (message) {
        case JWRN_ARITH_BAD_CODE:
        case JWRN_BOGUS_PROGRESSION:
        case JWRN_HIT_MARKER:
        case JWRN_HUFF_BAD_CODE:
        case JWRN_JPEG_EOF:
        case JWRN_MUST_RESYNC: return true;
        default: return false;
    }
}

void JpegReader::OnMessage(j_common_ptr library, int level) {
    if (level >= 0) return;  // traces; warnings are negative
    JpegReader& self = Of(library);
    if (library->err->msg_code == JWRN_EXTRANEOUS_DATA && self.decoder.arith_code != FALSE) {
        return self.input.NoteSkippedBytes();
    }
    char message[JMSG_LENGTH_MAX];
    library->err->format_message(library, message);
    if (TellsOfMissingData(library->err->msg_code)) self.guard.Fail(message);
    if (!self.guard.Try([&] { self.notes.Warn(message); })) self.guard.Fail("");
}

/// Called before each row that is decoded or, of pictures in several scans, is read.
void JpegReader::OnProgress(j_common_ptr library) {
    JpegReader& self = Of(library);
    if (self.decoder.input_scan_number > kMostScans) self.guard.Fail("it has too many scans");
    if (self.input.IsMadeUp()) self.guard.Fail(kCodedDataEndsTooEarly);
}

}  // namespace

std::unique_ptr<PictureReader> OpenJpeg(PictureSource& source, Notes& notes) {
    return std::make_unique<JpegReader>(source, notes);
}

}  // namespace tool
