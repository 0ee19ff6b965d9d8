#include "PaletteMapKernels.inl"

const zpixf::PaletteMapKernels zpixf::kAvx2PaletteMapKernels = zpixf::kKernels;
