#include "CopyBits.inl"

void shr::CopyBits_avx512(const BitRuns& runs) noexcept { CopyBitsKernel(runs); }
