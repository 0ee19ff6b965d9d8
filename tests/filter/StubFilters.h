#pragma once
// Filters with simple arithmetic of their own, for tests of what runs filters.
#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "zpixf/ZPixFilterBase.h"

namespace testkit {

/// Gives each line what a function makes of it; without one, hands lines through.
class LineFilter : public zpixf::ZPixFilterBase {
public:
    using Change = std::function<void(unsigned line, unsigned char* pixels, unsigned width)>;

    explicit LineFilter(zpixf::ZPixfType newType, Change newChange = {})
        : type(newType), change(std::move(newChange)) {}
    zpixf::ZPixfType FilterType() const override { return type; }
    bool FilterScanline(unsigned line, void* buffer) override {
        if (!IsReadyFor(line)) return false;
        if (line == failingLine) return Fail("LineFilter", 1, L"The line fails.");
        if (!PullLine(line, buffer)) return false;
        if (change) change(line, static_cast<unsigned char*>(buffer), inputFormat.GetWidth());
        return true;
    }
    unsigned failingLine = ~0u;

protected:
    bool OnStart() override { return true; }

private:
    zpixf::ZPixfType type;
    Change change;
};

/// Every channel but alpha to 255 minus itself.
inline void Invert(unsigned, unsigned char* pixels, unsigned width) {
    for (unsigned i = 0; i < 4 * width; ++i)
        if (i % 4 != 3) pixels[i] = static_cast<unsigned char>(255 - pixels[i]);
}

/// The sum of a pixel and its neighbours above and below (the border's repeated), modulo 256, alpha being the pixel's
/// own: each line depends on three, which may lie in different rows of tiles. Each is pulled once, in order.
class ColumnSum : public zpixf::ZPixFilterBase {
public:
    zpixf::ZPixfType FilterType() const override { return zpixf::ZPixfType::Convolution3; }
    bool FilterScanline(unsigned line, void* buffer) override {
        if (!IsReadyFor(line)) return false;
        if (line == 0) pulled.clear();
        const unsigned last = inputFormat.GetHeight() - 1;
        while (pulled.size() <= std::min(line + 1, last)) {
            pulled.emplace_back(std::size_t{4} * inputFormat.GetWidth());
            if (!PullLine(static_cast<unsigned>(pulled.size() - 1), pulled.back().data())) return false;
        }
        const auto& above = pulled[line == 0 ? 0 : line - 1];
        const auto& own = pulled[line];
        const auto& below = pulled[std::min(line + 1, last)];
        auto* sum = static_cast<unsigned char*>(buffer);
        for (std::size_t i = 0; i < own.size(); ++i)
            sum[i] = i % 4 == 3 ? own[i] : static_cast<unsigned char>(own[i] + above[i] + below[i]);
        return true;
    }

protected:
    bool OnStart() override { return true; }

private:
    std::vector<std::vector<unsigned char>> pulled;
};

/// The exclusive or of each line with another of the input, which it pulls after its own; alpha is its own.
class TwoLines : public zpixf::ZPixFilterBase {
public:
    using OtherLine = std::function<unsigned(unsigned line)>;

    TwoLines(zpixf::ZPixfType newType, OtherLine newOther) : type(newType), otherLine(std::move(newOther)) {}
    zpixf::ZPixfType FilterType() const override { return type; }
    bool FilterScanline(unsigned line, void* buffer) override {
        if (!IsReadyFor(line)) return false;
        std::vector<unsigned char> other(std::size_t{4} * inputFormat.GetWidth());
        if (!PullLine(line, buffer) || !PullLine(otherLine(line), other.data())) return false;
        auto* pixels = static_cast<unsigned char*>(buffer);
        for (std::size_t i = 0; i < other.size(); ++i)
            if (i % 4 != 3) pixels[i] = static_cast<unsigned char>(pixels[i] ^ other[i]);
        return true;
    }

protected:
    bool OnStart() override { return true; }

private:
    zpixf::ZPixfType type;
    OtherLine otherLine;
};

}  // namespace testkit
