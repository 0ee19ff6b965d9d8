// jpeglib.h needs FILE, but does not include it.
#include <cstdio>
// Keep this order.
#include <jpeglib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>
#include <vector>

#include "pictures/Exif.h"
#include "pictures/LibraryGuard.h"
#include "pictures/PictureRows.h"
#include "pictures/PictureWriter.h"
#include "pictures/Resolution.h"
#include "pictures/RowConversion.h"

namespace tool {

namespace {

/// Up to so many pixels all coefficients, of 2 bytes a sample, are kept until it is known which code serves them best.
constexpr std::int64_t kMostPixelsWithOwnCode = std::int64_t{1} << 26;
constexpr std::size_t kBufferBytes = 65536;
/// From here on colours are stored as fine as brightness: who asks for such a quality sees the difference.
constexpr int kFullColorQuality = 90;

class JpegWriter {
public:
    explicit JpegWriter(PictureJob& newJob)
        : job(newJob), rows(newJob.bitmap, newJob.background), format(rows.Format()) {}
    ~JpegWriter() { jpeg_destroy_compress(&encoder); }
    JpegWriter(const JpegWriter&) = delete;
    JpegWriter& operator=(const JpegWriter&) = delete;
    void Write();

private:
    void RefuseUnsupported();
    void OpenFile();
    void SetUp();
    void SetResolution();
    void SetAspect();
    void WriteColorProfile();
    void WriteOrientation();
    void WriteRows();
    void PutBuffer(std::size_t byteCount);

    static JpegWriter& Of(j_common_ptr library) { return *static_cast<JpegWriter*>(library->client_data); }
    static JpegWriter& Of(j_compress_ptr library) { return *static_cast<JpegWriter*>(library->client_data); }
    static void OnStart(j_compress_ptr library);
    static boolean OnFull(j_compress_ptr library);
    static void OnEnd(j_compress_ptr library);
    static void OnError(j_common_ptr library);
    static void OnMessage(j_common_ptr library, int level);

    PictureJob& job;
    PictureRows rows;
    const shr::ColorFormat format;
    LibraryGuard guard;
    jpeg_compress_struct encoder{};
    jpeg_error_mgr errors{};
    jpeg_destination_mgr output{};
    std::array<JOCTET, kBufferBytes> buffer;
};

void JpegWriter::Write() {
    RefuseUnsupported();
    OpenFile();
    SetUp();
    WriteRows();
    guard.Run([this] { jpeg_finish_compress(&encoder); });
}

void JpegWriter::RefuseUnsupported() {
    if (rows.Width() > JPEG_MAX_DIMENSION || rows.Height() > JPEG_MAX_DIMENSION) {
        throw std::runtime_error("the bitmap is larger than JPEG's 65500 x 65500 pixels");
    }
    if (format == shr::GRAYSCALE_16 || format == shr::GRAYSCALE_32) NoteReducedGrey(job, 8);
}

void JpegWriter::OpenFile() {
    encoder.err = jpeg_std_error(&errors);
    errors.error_exit = &OnError;
    errors.emit_message = &OnMessage;
    encoder.client_data = this;
    guard.Run([this] {
        jpeg_create_compress(&encoder);
        output.init_destination = &OnStart;
        output.empty_output_buffer = &OnFull;
        output.term_destination = &OnEnd;
        encoder.dest = &output;
    });
}

void JpegWriter::SetUp() {
    const bool grey = IsGrey(format);
    encoder.image_width = static_cast<JDIMENSION>(rows.Width());
    encoder.image_height = static_cast<JDIMENSION>(rows.Height());
    encoder.input_components = grey ? 1 : format == shr::BGR_24 ? 3 : 4;
    encoder.in_color_space = grey ? JCS_GRAYSCALE : format == shr::BGR_24 ? JCS_EXT_BGR : JCS_EXT_BGRX;
    guard.Run([this] {
        jpeg_set_defaults(&encoder);
        jpeg_set_quality(&encoder, job.options.jpegQuality, TRUE);
    });
    if (!grey && job.options.jpegQuality >= kFullColorQuality) {
        encoder.comp_info[0].h_samp_factor = 1;
        encoder.comp_info[0].v_samp_factor = 1;
    }
    const bool hasOwnCode = std::int64_t{rows.Width()} * rows.Height() <= kMostPixelsWithOwnCode;
    encoder.optimize_coding = hasOwnCode ? TRUE : FALSE;
    SetResolution();
}

/// A density is a whole number of up to 16 bits, per inch or per centimetre: the unit that comes closer is taken.
void JpegWriter::SetResolution() {
    const double x = job.bitmap.GetXResolution(), y = job.bitmap.GetYResolution();
    if (x <= 0 || y <= 0) return SetAspect();
    const auto error = [&](double unitsPerMeter) {
        return std::abs(std::round(x / unitsPerMeter) * unitsPerMeter - x) +
               std::abs(std::round(y / unitsPerMeter) * unitsPerMeter - y);
    };
    const bool inches = error(shr::INCHES_PER_METER) <= error(100);
    const double unitsPerMeter = inches ? shr::INCHES_PER_METER : 100;
    const double xDensity = std::round(x / unitsPerMeter), yDensity = std::round(y / unitsPerMeter);
    if (xDensity < 1 || yDensity < 1 || xDensity > 65535 || yDensity > 65535) {
        job.notes.Add("the resolution is not kept: it is out of JPEG's range");
        return;
    }
    encoder.density_unit = inches ? 1 : 2;
    encoder.X_density = static_cast<UINT16>(xDensity);
    encoder.Y_density = static_cast<UINT16>(yDensity);
}

void JpegWriter::SetAspect() {
    const std::uint32_t x = job.metadata.xAspect, y = job.metadata.yAspect;
    const std::uint32_t divisor = std::max(x, y) / 65536 + 1;
    if (x / divisor == 0 || y / divisor == 0) return NoteLostAspect(job.metadata, job.notes);
    encoder.density_unit = 0;
    encoder.X_density = static_cast<UINT16>(x / divisor);
    encoder.Y_density = static_cast<UINT16>(y / divisor);
}

void JpegWriter::WriteColorProfile() {
    constexpr std::size_t kMostSegments = 255, kSegmentBytes = 65519;
    NoteLostColorMarks(job.metadata, job.notes);
    const std::vector<std::uint8_t>* profile = ProfileFor(IsGrey(format), job.metadata, job.notes);
    if (profile == nullptr) return;
    if (profile->size() > kMostSegments * kSegmentBytes) return NoteLostProfile(job.metadata, job.notes);
    guard.Run([&] { jpeg_write_icc_profile(&encoder, profile->data(), static_cast<unsigned>(profile->size())); });
}

void JpegWriter::WriteOrientation() {
    if (job.metadata.orientation == 1) return;
    constexpr std::array<JOCTET, 6> kHead{'E', 'x', 'i', 'f', 0, 0};
    const OrientationExif exif = ExifOf(job.metadata.orientation);
    std::array<JOCTET, kHead.size() + exif.size()> segment{};
    std::copy(exif.begin(), exif.end(), std::copy(kHead.begin(), kHead.end(), segment.begin()));
    guard.Run(
        [&] { jpeg_write_marker(&encoder, JPEG_APP0 + 1, segment.data(), static_cast<unsigned>(segment.size())); });
}

void JpegWriter::WriteRows() {
    const auto width = static_cast<std::size_t>(rows.Width());
    std::vector<std::uint8_t> row(shr::RowBytes(width, format)), encoded(4 * width);
    const bool asIs = format == shr::GRAYSCALE_8 || format == shr::BGR_24 || format == shr::BGRX_32;
    JSAMPROW rowPointer = asIs ? row.data() : encoded.data();
    guard.Run([this] { jpeg_start_compress(&encoder, TRUE); });
    WriteOrientation();
    WriteColorProfile();
    for (int y = 0; y < rows.Height(); ++y) {
        job.progress.SetProgress(static_cast<double>(y) / rows.Height());
        rows.Fetch(y, row.data(), nullptr);
        if (IsGrey(format) && !asIs) ToGrey8(encoded.data(), row.data(), format, rows.Width());
        if (!IsGrey(format) && !asIs) {
            ToBgra(encoded.data(), row.data(), nullptr, format, rows.ColorTable(), rows.Width());
        }
        guard.Run([&] { jpeg_write_scanlines(&encoder, &rowPointer, 1); });
    }
}

void JpegWriter::PutBuffer(std::size_t byteCount) {
    if (!guard.Try([&] { job.file.Write(buffer.data(), byteCount); })) guard.Fail("");
}

void JpegWriter::OnStart(j_compress_ptr library) {
    JpegWriter& self = Of(library);
    self.output.next_output_byte = self.buffer.data();
    self.output.free_in_buffer = self.buffer.size();
}

boolean JpegWriter::OnFull(j_compress_ptr library) {
    Of(library).PutBuffer(kBufferBytes);  // all of it, whatever free_in_buffer says
    OnStart(library);
    return TRUE;
}

void JpegWriter::OnEnd(j_compress_ptr library) {
    JpegWriter& self = Of(library);
    self.PutBuffer(self.buffer.size() - self.output.free_in_buffer);
}

void JpegWriter::OnError(j_common_ptr library) {
    char message[JMSG_LENGTH_MAX];
    library->err->format_message(library, message);
    Of(library).guard.Fail(message);
}

void JpegWriter::OnMessage(j_common_ptr library, int level) {
    if (level >= 0) return;  // traces; warnings are negative
    JpegWriter& self = Of(library);
    char message[JMSG_LENGTH_MAX];
    library->err->format_message(library, message);
    if (!self.guard.Try([&] { self.job.notes.Warn(message); })) self.guard.Fail("");
}

}  // namespace

void WriteJpeg(PictureJob& job) {
    FlattenIfAsked(job);
    FlattenOnWhite(job);
    JpegWriter(job).Write();
}

}  // namespace tool
