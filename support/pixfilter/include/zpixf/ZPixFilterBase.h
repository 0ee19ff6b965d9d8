#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>

#include "shr/CopyPixelRows.h"
#include "shr/ZString.h"
#include "zpixf/Export.h"
#include "zpixf/ZPixFormat.h"

namespace zpixf {

/// What a filter is, as those who chain filters see it.
enum class ZPixfType : int {
    Brightness = 1,
    Contrast = 2,
    Saturation = 3,
    Desaturate = 4,
    Convolution3 = 5,
    Null = 6,
    Resize = 7,  ///< nearest and bilinear
    Convolution5 = 8,
    Median = 9,
    DitherOrdered = 10,
    DitherDiffuse = 11,
    QuantizePopularity = 12,
    MakesAlpha = 13,  ///< for a host's own filters that make alpha
    QuantizeMedian5 = 15,
    ResizeBicubic = 16,
    QuantizeMedian8 = 17,
    KeepsAlpha = 22,  ///< for a host's own filters that leave alpha alone
    DitherBlueNoise = 31,
};

/// Fetches line `line` of the input into `buffer`; false when it cannot.
using ScanLineFunction = bool (*)(void* userData, unsigned line, void* buffer);

class ZPixfPointwise;
class ZPixfHalving;
class ZPixfPicking;
class ZPixfQuantize;

/// A filter that works line by line and pulls its input: set the two formats and the scan-line function, Start it, ask
/// for output lines, Stop it.
///
///     filter.SetInputFormat(format);
///     filter.SetOutputFormat(format);
///     filter.SetScanLineFunction(&ReadLine, &picture);
///     if (filter.Start())
///         for (unsigned y = 0; y < height; ++y) filter.FilterScanline(y, row);
///     filter.Stop();
///
/// Lines are asked for in increasing order; line 0 may be asked for at any time and begins again. Failures are reported
/// by a result of false and described by the four error getters until the next Start.
class ZPIXF_API ZPixFilterBase {
public:
    ZPixFilterBase();
    virtual ~ZPixFilterBase();
    ZPixFilterBase(const ZPixFilterBase&) = delete;
    ZPixFilterBase& operator=(const ZPixFilterBase&) = delete;

    virtual ZPixfType FilterType() const = 0;

    const ZPixFormat& GetInputFormat() const noexcept { return inputFormat; }
    const ZPixFormat& GetOutputFormat() const noexcept { return outputFormat; }
    /// What is set while the filter is started counts from its Stop on.
    void SetInputFormat(const ZPixFormat& format);
    void SetOutputFormat(const ZPixFormat& format);
    /// `function` and what `userData` points at must outlive the filtering.
    void SetScanLineFunction(ScanLineFunction function, void* userData);

    /// Makes the filter ready; it may pull input lines already. False, with nothing held, when formats or function do
    /// not suit or memory is short.
    bool Start();
    /// Gives output line `line`, as long as the output format says, in `buffer`.
    virtual bool FilterScanline(unsigned line, void* buffer) = 0;
    /// Drops what Start made. Harmless at any time.
    virtual void Stop();
    /// A promise: input lines are pulled in increasing order, each once and, where input and output are of one size,
    /// none after the output line of its number was given; until line 0 is asked for again. So a picture can be
    /// filtered in place.
    virtual bool PullsForward() const { return false; }
    /// Null for a filter that is not one of single pixels.
    virtual ZPixfPointwise* AsPointwise() noexcept { return nullptr; }
    /// For a filter whose formats are set: null unless its result is half as large.
    virtual const ZPixfHalving* AsHalving() const noexcept { return nullptr; }
    /// Null for a filter that does more than to choose pixels.
    virtual const ZPixfPicking* AsPicking() const noexcept { return nullptr; }
    /// Null for a filter that does not choose a palette.
    virtual ZPixfQuantize* AsQuantize() noexcept { return nullptr; }
    bool IsStarted() const noexcept { return started; }

    const shr::ZString& GetErrorModule() const noexcept { return errorModule; }
    const shr::ZString& GetErrorFile() const noexcept { return errorFile; }
    int GetErrorLine() const noexcept { return errorLine; }
    const shr::ZString& GetErrorDescription() const noexcept { return errorDescription; }
    /// Whether what they describe is that memory was short.
    bool LacksMemory() const noexcept { return lacksMemory; }

protected:
    /// What a filter does to become ready. Called by Start once the formats are known to be set.
    virtual bool OnStart() = 0;
    /// Whether the filter is started and the output has such a line; false, described, if not. Filters ask first.
    bool IsReadyFor(unsigned line);
    /// Fetches an input line; false, described, when the source does not give it.
    bool PullLine(unsigned line, void* buffer);
    /// Describes a failure; returns false for the caller to hand on.
    bool Fail(const char* file, int line, const wchar_t* description);
    /// The same of a lack of memory.
    bool FailForMemory(const char* file, int line);

    ZPixFormat inputFormat, outputFormat;

private:
    ScanLineFunction scanLineFunction = nullptr;
    void* userData = nullptr;
    bool started = false;
    std::optional<ZPixFormat> nextInputFormat, nextOutputFormat;
    shr::ZString errorModule, errorFile, errorDescription;
    int errorLine = 0;
    bool lacksMemory = false;
};

/// A filter of single pixels: each output pixel is made of the input pixel of its place alone, by a function that is
/// the same at every place. Bitmaps then change their tiles where they lie, which is faster than lines by far.
///
///     class Invert final : public zpixf::ZPixfPointwise {
///     public:
///         zpixf::ZPixfType FilterType() const override { return zpixf::ZPixfType::KeepsAlpha; }
///         bool ChangePixels(std::uint8_t* pixels, std::size_t count) override;  // B, G, R, A
///
///     protected:
///         bool OnStart() override { return true; }
///     };
class ZPIXF_API ZPixfPointwise : public ZPixFilterBase {
public:
    ZPixfPointwise();
    ~ZPixfPointwise() override;
    /// The input line, with its pixels changed.
    bool FilterScanline(unsigned line, void* buffer) final;
    bool PullsForward() const final { return true; }
    ZPixfPointwise* AsPointwise() noexcept final { return this; }

    /// For a started filter: changes `count` pixels of the formats set, in place. They may be of any place, in parts of
    /// any size, in any order. False, described and with none of them changed, if that fails.
    virtual bool ChangePixels(std::uint8_t* pixels, std::size_t count) = 0;
    /// Puts the same into pixels of another place, in one go, which takes half the time where pictures are larger than
    /// caches. False, with nothing done, for a filter that does not offer it, as by default; one that does never fails.
    virtual bool CopyChanged(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                             shr::CopyWrites writes) noexcept;
    /// A promise: pixels come out as they went in.
    virtual bool ChangesNothing() const noexcept { return false; }
};

}  // namespace zpixf
