#include "palette/PaletteMapKernels.inl"

const zpixf::PaletteMapKernels zpixf::kBasePaletteMapKernels = zpixf::kKernels;
