#include "commands/EditCommands.h"

#include <charconv>
#include <cmath>
#include <stdexcept>
#include <string>

#include "ErrorContext.h"
#include "commands/ArchiveFile.h"
#include "commands/MemoryLimit.h"
#include "pictures/PictureSource.h"
#include "zbm/ZMemBitmap.h"

namespace tool {

namespace {

void RequireDone(bool done) {
    if (!done) throw shr::AbortException();
}

/// Reads the input, has `edit` give the result, and writes that.
template <class Edit>
void EditFile(const Input& input, const Output& output, const Streams& streams, const Edit& edit) {
    ConsoleProgress progress(streams.console);
    OutputFile file(output.name, streams.out);  // first, so that a name that cannot be written is told early
    Picture picture = ReadPictureOrArchive(input, streams.console, progress);
    InContextOf(input.name, [&] { picture.bitmap = edit(std::move(picture.bitmap), progress); });
    RequireDone(picture.bitmap->CommitAll(&progress));  // builds the reductions of an archive that had such again
    WritePicture(picture, output, file, streams.console, progress);
}

/// Filters work with 8 bits a channel.
void NoteReducedGrey(const zbm::ZBitmap& bitmap, const Input& input, const Streams& streams) {
    const shr::ColorFormat format = bitmap.GetColorFormat();
    if (format == shr::GRAYSCALE_16 || format == shr::GRAYSCALE_32)
        streams.console.Note(input.name, "its grey levels are reduced to 8 bits: filters work with no more");
}

/// The numbers of a text, which spaces, commas and line ends part.
std::vector<double> NumbersIn(const std::string& text) {
    constexpr const char* kBetween = " \t\r\n,;";
    std::vector<double> numbers;
    for (std::size_t at = 0; (at = text.find_first_not_of(kBetween, at)) != std::string::npos;) {
        const std::size_t end = std::min(text.find_first_of(kBetween, at), text.size());
        double number = 0;
        const auto [rest, error] = std::from_chars(text.data() + at, text.data() + end, number);
        if (error != std::errc{} || rest != text.data() + end || !std::isfinite(number))
            throw std::invalid_argument("\"" + text.substr(at, end - at) + "\" is no number that a kernel can have");
        numbers.push_back(number);
        at = end;
    }
    return numbers;
}

std::string ReadText(const ZString& fileName) {
    constexpr std::int64_t kMostBytes = 1 << 16;
    PictureSource file(fileName);
    if (file.Length() > kMostBytes) throw std::invalid_argument("is too long for a kernel");
    std::string text(static_cast<std::size_t>(file.Length()), '\0');
    file.ReadExactly(text.data(), text.size());
    return text;
}

struct Kernel {
    std::vector<double> coefficients;
    double divisor, bias;
};

Kernel ReadKernel(const ZString& fileName) {
    std::vector<double> numbers = NumbersIn(ReadText(fileName));
    const std::size_t coefficients = numbers.size() >= 25 ? 25 : 9;
    if (numbers.size() < coefficients || numbers.size() > coefficients + 2)
        throw std::invalid_argument("holds " + std::to_string(numbers.size()) +
                                    " numbers; a kernel has 9 or 25, and a divisor and a bias may follow");
    numbers.resize(coefficients + 2);  // a divisor of 0 stands for the sum
    const double divisor = numbers[coefficients], bias = numbers[coefficients + 1];
    numbers.resize(coefficients);
    return {numbers, divisor, bias};
}

bool Convolute(zbm::ZBitmap& bitmap, Kernel kernel, shr::IProgress* progress) {
    double* const coefficients = kernel.coefficients.data();
    return kernel.coefficients.size() == 9 ? bitmap.Convolute3x3(coefficients, kernel.divisor, kernel.bias, progress)
                                           : bitmap.Convolute5x5(coefficients, kernel.divisor, kernel.bias, progress);
}

/// Raises std::invalid_argument for numbers that are too large. Which are, the library knows: so it is tried.
void RefuseUnlessTaken(const Kernel& kernel) {
    zbm::ZBasicMemBitmap pixel(1, 1, shr::BGRA_32);
    try {
        Convolute(pixel, kernel, nullptr);
    } catch (const shr::Exception& error) { throw std::invalid_argument(TextOf(error, {}, {})); }
}

}  // namespace

Adjustment ConvolutionFrom(const ZString& kernelFile) {
    return InContextOf(kernelFile, [&]() -> Adjustment {
        try {
            const Kernel kernel = ReadKernel(kernelFile);
            RefuseUnlessTaken(kernel);
            return [kernel](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
                return Convolute(bitmap, kernel, &progress);
            };
        } catch (const std::invalid_argument& error) { throw UsageError(kernelFile, error.what()); }
    });
}

void Adjust(const AdjustOptions& options, const Streams& streams) {
    std::vector<Adjustment> adjustments;
    for (const AdjustmentMaker& make : options.adjustments) adjustments.push_back(make());
    EditFile(options.input, options.output, streams, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        NoteReducedGrey(*bitmap, options.input, streams);
        for (const Adjustment& adjust : adjustments) RequireDone(adjust(*bitmap, progress));
        return bitmap;
    });
}

void Resize(const ResizeOptions& options, const Streams& streams) {
    EditFile(options.input, options.output, streams, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        const auto [width, height] = options.size.For({bitmap->GetPixelWidth(), bitmap->GetPixelHeight()});
        RefuseTooManyPixels(width, height, options.input.reading.maxPixels);
        NoteReducedGrey(*bitmap, options.input, streams);
        RefuseBeyondMemory({width, height, bitmap->GetColorFormat(), 512, 512}, 0);
        auto result = std::make_unique<zbm::ZBasicMemBitmap>(1, 1, shr::BGRA_32);
        const RECT whole{0, 0, bitmap->GetPixelWidth(), bitmap->GetPixelHeight()};
        RequireDone(result->Create(width, height, *bitmap, whole, options.method, &progress));
        return result;
    });
}

void QuantizeColors(const QuantizeOptions& options, const Streams& streams) {
    EditFile(options.input, options.output, streams, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        NoteReducedGrey(*bitmap, options.input, streams);
        std::vector<RGBQUAD> palette;
        RequireDone(bitmap->QuantizeColors(options.method, options.colors, palette, &progress));
        return bitmap;
    });
}

void Reduce(const ReduceOptions& options, const Streams& streams) {
    EditFile(options.input, options.output, streams, [&](BitmapPtr bitmap, ConsoleProgress& progress) {
        auto reduced = std::make_unique<zbm::ZMemBitmap>(1, 1, shr::BGRA_32);
        reduced->ZBasicMemBitmap::ChangeFrom(*bitmap);
        RequireDone(reduced->CommitAll(&progress, true));
        return reduced;
    });
}

}  // namespace tool
