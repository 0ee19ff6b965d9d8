#pragma once
// What our filters are to give, in plain loops.
#include "operations/FilterScene.h"

namespace contest::filters {

/// Makes the result of a canvas.
using Reference = std::function<void(const Canvas&)>;

namespace references {

Reference Levels(const Line& line);
/// For an amount that is not negative.
Reference Saturation(double amount);
Reference Convolution(const Kernel& kernel);
void Desaturation(const Canvas& canvas);
void Half(const Canvas& canvas);
void Nearest(const Canvas& canvas);

}  // namespace references

}  // namespace contest::filters
