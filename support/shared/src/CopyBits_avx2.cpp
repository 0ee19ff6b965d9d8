#include "CopyBits.inl"

void shr::CopyBits_avx2(const BitRuns& runs) noexcept { CopyBitsKernel(runs); }
