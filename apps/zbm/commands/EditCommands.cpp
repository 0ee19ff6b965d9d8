#include "commands/EditCommands.h"

#include <charconv>
#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>

#include "ErrorContext.h"
#include "commands/EditFile.h"
#include "commands/FileBitmap.h"
#include "pictures/PictureSource.h"
#include "zbm/ZBasicMemBitmap.h"

namespace tool {

namespace {

void RequireDone(bool done) {
    if (!done) throw shr::AbortException();
}

/// A change of a bitmap's pixels, where they are.
using Change = std::function<void(zbm::ZBitmap& bitmap, shr::IProgress& progress)>;

/// What goes wrong then is no reason to change the picture again.
void RefreshLevels(zbm::ZScanRectFileBitmap& bitmap, const ZString& name, shr::IProgress& progress) {
    try {
        BuildLevels(bitmap, Levels::stale, name, progress);
    } catch (const ToolError& error) {
        bitmap.Save();
        throw ToolError(
            name, "the picture is changed, but not its levels, which zbm levels builds: " + std::string(error.what()));
    }
}

/// What is done until then stays when it fails or is cancelled; the file is one that can be used.
void ChangeInPlace(const Input& input, const Streams& streams, const Change& change) {
    ConsoleProgress progress(streams.console);
    const FileBitmapPtr bitmap = OpenFileBitmap(input.name, FileUse::change);
    InContextOf(input.name, [&] {
        RefuseTooManyPixels(bitmap->GetPixelWidth(), bitmap->GetPixelHeight(), input.reading.maxPixels);
        const bool hasLevels = LevelCount(*bitmap) > 1;
        change(*bitmap, progress);
        if (hasLevels) RefreshLevels(*bitmap, input.name, progress);
        bitmap->Save();
        bitmap->Close();
    });
}

void ChangeFile(const Input& input, const Output& output, const Streams& streams, const Change& change) {
    if (output.isInPlace) return ChangeInPlace(input, streams, change);
    EditFile(input, output, streams, [&](const BitmapPtr& bitmap, Workplace& place, ConsoleProgress& progress) {
        BitmapPtr changed = place.MakeWritable(bitmap, progress);
        change(*changed, progress);
        place.BuildReductions(*changed, progress);
        return changed;
    });
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
    } catch (const shr::Exception& error) { throw std::invalid_argument(ErrorAbout({}, error, {}).what()); }
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
    ChangeFile(options.input, options.output, streams, [&](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
        NoteReducedGrey(bitmap, options.input, streams);
        for (const Adjustment& adjust : adjustments) RequireDone(adjust(bitmap, progress));
    });
}

void Resize(const ResizeOptions& options, const Streams& streams) {
    const auto resize = [&](const BitmapPtr& bitmap, Workplace& place, ConsoleProgress& progress) {
        const PixelSize size = options.size.For({bitmap->GetPixelWidth(), bitmap->GetPixelHeight()});
        RefuseTooManyPixels(size.width, size.height, options.input.reading.maxPixels);
        NoteReducedGrey(*bitmap, options.input, streams);
        return place.Resize(*bitmap, size, options.method, progress);
    };
    EditFile(options.input, options.output, streams, resize);
}

void QuantizeColors(const QuantizeOptions& options, const Streams& streams) {
    ChangeFile(options.input, options.output, streams, [&](zbm::ZBitmap& bitmap, shr::IProgress& progress) {
        NoteReducedGrey(bitmap, options.input, streams);
        std::vector<RGBQUAD> palette;
        RequireDone(bitmap.QuantizeColors(options.method, options.colors, palette, &progress));
    });
}

void Reduce(const ReduceOptions& options, const Streams& streams) {
    const auto reduce = [](const BitmapPtr& bitmap, Workplace& place, ConsoleProgress& progress) {
        // What is written is an archive; so that is the workplace.
        const BitmapPtr reduced = static_cast<Paging&>(place).KeepReductions(bitmap, progress);
        place.BuildReductions(*reduced, progress);
        return reduced;
    };
    EditFile(options.input, options.output, streams, reduce);
}

}  // namespace tool
