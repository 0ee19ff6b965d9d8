#include "palette/PaletteMapKernels.inl"

const zpixf::PaletteMapKernels zpixf::kAvx2PaletteMapKernels = zpixf::kKernels;
