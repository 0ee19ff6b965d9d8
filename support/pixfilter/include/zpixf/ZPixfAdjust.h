#pragma once
// Filters of colour alone. Input and output are 4 channels of 8 bits (B, G, R, A) of the same size; alpha is handed
// through. Each output line is made of the input line of its number. Results are rounded to nearest, halves up, and the
// same on every system and processor.
#include <array>
#include <cstdint>
#include <memory>

#include "zpixf/ZPixFilterBase.h"

namespace zpixf {

struct AdjustedPixels;

/// What they have in common.
class ZPIXF_API ZPixfAdjust : public ZPixfPointwise {
public:
    ~ZPixfAdjust() override;
    bool ChangePixels(std::uint8_t* pixels, std::size_t count) final;
    bool CopyChanged(const std::uint8_t* from, std::uint8_t* to, std::size_t count,
                     shr::CopyWrites writes) noexcept final;

protected:
    ZPixfAdjust();
    bool OnStart() override;

private:
    virtual void Adjust(const AdjustedPixels& pixels) const noexcept = 0;
};

/// A filter that maps each channel's level by itself.
class ZPIXF_API ZPixfLevels : public ZPixfAdjust {
public:
    ~ZPixfLevels() override;
    void Stop() override;

protected:
    ZPixfLevels();
    bool OnStart() override;
    /// What each level becomes; asked once a Start.
    virtual std::array<std::uint8_t, 256> Levels() const = 0;

private:
    void Adjust(const AdjustedPixels& pixels) const noexcept override;

    struct ZPIXF_LOCAL State;
    std::unique_ptr<State> state;
};

class ZPIXF_API ZPixfBrightness : public ZPixfLevels {
public:
    ZPixfBrightness();
    ~ZPixfBrightness() override;
    /// Moves every channel toward white by `amount` of its distance, or toward black if it is negative: 1 gives white,
    /// -1 black, 0 (the default) changes nothing. What is beyond -1 .. 1 counts as -1 or 1, no number as 0.
    void SetBrightness(double amount);
    ZPixfType FilterType() const override;

protected:
    std::array<std::uint8_t, 256> Levels() const override;

private:
    double brightness = 0;
};

class ZPIXF_API ZPixfContrast : public ZPixfLevels {
public:
    ZPixfContrast();
    ~ZPixfContrast() override;
    /// The slope about mid-grey (127.5) becomes tan((amount + 1) * pi / 4): -1 gives mid-grey, 0 (the default) changes
    /// nothing, 1 gives black below mid-grey and white above. Limits as for brightness.
    void SetContrast(double amount);
    ZPixfType FilterType() const override;

protected:
    std::array<std::uint8_t, 256> Levels() const override;

private:
    double contrast = 0;
};

class ZPIXF_API ZPixfSaturation : public ZPixfAdjust {
public:
    ZPixfSaturation();
    ~ZPixfSaturation() override;
    /// Each channel c becomes luma + amount * (c - luma): 1 (the default) changes nothing, 0 gives grey, -1 the
    /// complementary colours. Exact, with the amount rounded to a multiple of 1/16384. Limits as for brightness.
    void SetSaturation(double amount);
    ZPixfType FilterType() const override;

protected:
    bool OnStart() override;

private:
    void Adjust(const AdjustedPixels& pixels) const noexcept override;

    double saturation = 1;
    int factor = 0;  // of a started filter
};

/// Each channel becomes the luma.
class ZPIXF_API ZPixfDesaturate : public ZPixfAdjust {
public:
    ZPixfDesaturate();
    ~ZPixfDesaturate() override;
    ZPixfType FilterType() const override;

private:
    void Adjust(const AdjustedPixels& pixels) const noexcept override;
};

}  // namespace zpixf
