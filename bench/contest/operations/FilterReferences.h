#pragma once
// What our filters are to give, in plain loops.
#include <functional>

#include "harness/Pictures.h"
#include "operations/FilterParameters.h"

namespace contest {

using bench::Square;
using Reference = std::function<void(const Square& source, Square& result)>;

namespace references {

Reference Levels(const Line& line);
/// For an amount that is not negative.
Reference Saturation(double amount);
Reference Convolution(const Kernel& kernel);
void Desaturation(const Square& source, Square& result);
void Half(const Square& source, Square& result);
void Nearest(const Square& source, Square& result);

}  // namespace references

}  // namespace contest
